#pragma once

#include <QCommandLineParser>
#include <QString>

class CommandOutput;

// One subcommand of tarvello-ctl. The program gives every subcommand the
// options -d/--device, --json and -h/--help; a subcommand adds its own in
// setUp() and does its work in run(), which returns the exit status or
// throws a Tarvello::CtlError.
class Command
{
public:
    virtual ~Command() = default;

    virtual QString name() const = 0;
    virtual QString summary() const = 0;
    virtual void setUp(QCommandLineParser& parser) const { Q_UNUSED(parser); }
    virtual int run(const QCommandLineParser& parser, CommandOutput& output) = 0;

    static QString device(const QCommandLineParser& parser) { return parser.value("device"); }
    static bool json(const QCommandLineParser& parser) { return parser.isSet("json"); }
};
