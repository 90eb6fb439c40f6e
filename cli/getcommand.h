#pragma once

#include "command.h"

// tarvello-ctl get: the values of the named controls.
class GetCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
