#pragma once

#include "command.h"

// tarvello-ctl serial: what the maker's camera says on its serial line.
class SerialCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
