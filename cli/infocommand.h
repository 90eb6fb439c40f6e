#pragma once

#include "command.h"

// tarvello-ctl info: every property of one camera, as the window's info dialog shows them.
class InfoCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
