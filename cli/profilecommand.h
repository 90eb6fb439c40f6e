#pragma once

#include "command.h"

// tarvello-ctl profile: all writable controls to a JSON file and back, and
// the camera's stored profile.
class ProfileCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    void setUp(QCommandLineParser& parser) const override;
    int run(const QCommandLineParser& parser, CommandOutput& output) override;

private:
    int save(const QString& file, const QCommandLineParser& parser, CommandOutput& output);
    int load(const QString& file, const QCommandLineParser& parser, CommandOutput& output);
    // store, forget, show --stored and apply --stored.
    int stored(const QString& action, const QCommandLineParser& parser, CommandOutput& output);
};
