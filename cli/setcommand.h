#pragma once

#include "command.h"

// tarvello-ctl set: validated writes of NAME=VALUE pairs, all checked before the first.
class SetCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
