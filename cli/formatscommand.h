#pragma once

#include "command.h"

// tarvello-ctl formats: pixel formats, their sizes and frame intervals.
class FormatsCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
