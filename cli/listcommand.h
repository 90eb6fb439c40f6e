#pragma once

#include "command.h"

// tarvello-ctl list: the cameras present, one line each.
class ListCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
