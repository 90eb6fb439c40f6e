#pragma once

#include "command.h"

// tarvello-ctl reset: the camera's soft reset.
class ResetCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
