#pragma once

#include "command.h"

// tarvello-ctl controls: every control with its kind, limits, value and flags.
class ControlsCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
