#pragma once

#include <QStringList>

#include <memory>
#include <vector>

class Command;
class CommandOutput;

// tarvello-ctl: picks the subcommand, parses its options and turns what it
// throws into a message on the error stream and an exit status.
class CtlProgram
{
public:
    CtlProgram();
    ~CtlProgram();

    // arguments as the program got them, the program's name first.
    int run(const QStringList& arguments, CommandOutput& output);

private:
    Command* find(const QString& name) const;
    void printOverview(CommandOutput& output) const;
    int runCommand(Command& command, const QStringList& arguments, CommandOutput& output);

    std::vector<std::unique_ptr<Command>> m_commands;
};
