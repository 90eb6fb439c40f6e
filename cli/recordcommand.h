#pragma once

#include "command.h"

// tarvello-ctl record: a video file through FFmpeg's libraries.
class RecordCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;
};
