#pragma once

#include "command.h"

// tarvello-ctl grab: frames to numbered image files and a side file.
class GrabCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
