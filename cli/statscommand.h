#pragma once

#include "command.h"

// tarvello-ctl stats: how well a stream keeps its promised rate.
class StatsCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
