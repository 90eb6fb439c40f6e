#include "ctlprogram.h"

#include "camerastream.h"
#include "command.h"
#include "commandoutput.h"
#include "controlscommand.h"
#include "formatscommand.h"
#include "getcommand.h"
#include "grabcommand.h"
#include "infocommand.h"
#include "listcommand.h"
#include "profilecommand.h"
#include "doctorcommand.h"
#include "recordcommand.h"
#include "resetcommand.h"
#include "serialcommand.h"
#include "setcommand.h"
#include "statscommand.h"

#include <ctlerror.h>

#include <QCoreApplication>
#include <QRegularExpression>

namespace {

const char* const kExitStatuses =
    "Exit status:\n"
    "  0  success\n"
    "  1  failure (a file or stream that could not be used)\n"
    "  2  bad input (unknown option, control or value, malformed file)\n"
    "  3  no such camera (none found, the selector matches none or several, or the camera went away)\n"
    "  4  refused (a read-only or inactive control, or the camera refused a write)\n";

} // namespace

CtlProgram::CtlProgram()
{
    m_commands.emplace_back(new ListCommand);
    m_commands.emplace_back(new InfoCommand);
    m_commands.emplace_back(new FormatsCommand);
    m_commands.emplace_back(new ControlsCommand);
    m_commands.emplace_back(new GetCommand);
    m_commands.emplace_back(new SetCommand);
    m_commands.emplace_back(new ResetCommand);
    m_commands.emplace_back(new ProfileCommand);
    m_commands.emplace_back(new GrabCommand);
    m_commands.emplace_back(new StatsCommand);
    m_commands.emplace_back(new RecordCommand);
    m_commands.emplace_back(new DoctorCommand);
    m_commands.emplace_back(new SerialCommand);
}

CtlProgram::~CtlProgram() = default;

Command* CtlProgram::find(const QString& name) const
{
    for (const auto& command : m_commands) {
        if (command->name() == name)
            return command.get();
    }
    return nullptr;
}

int CtlProgram::run(const QStringList& arguments, CommandOutput& output)
{
    // Options may come before the command ("-d 2 info"): the command is
    // the first word that names one and is not the value of -d.
    for (int i = 1; i < arguments.size(); ++i) {
        const bool optionValue = i > 1 && (arguments[i - 1] == "-d" || arguments[i - 1] == "--device");
        if (!optionValue && find(arguments[i]) && i > 1) {
            QStringList reordered = arguments;
            reordered.move(i, 1);
            return run(reordered, output);
        }
        if (!optionValue && !arguments[i].startsWith('-'))
            break;
    }
    const QString first = arguments.value(1);
    if (first.isEmpty() || first == "-h" || first == "--help" || first == "help") {
        if (Command* command = find(arguments.value(2)))
            return runCommand(*command, QStringList{arguments.value(0), "--help"}, output);
        printOverview(output);
        return 0;
    }
    if (first == "-v" || first == "--version") {
        output.out() << "tarvello-ctl " << QCoreApplication::applicationVersion() << '\n';
        return 0;
    }
    Command* command = find(first);
    if (!command) {
        output.err() << "tarvello-ctl: unknown command '" << first << "'; 'tarvello-ctl --help' lists them.\n";
        return Tarvello::CtlError::kBadInput;
    }
    return runCommand(*command, arguments.mid(2), output);
}

int CtlProgram::runCommand(Command& command, const QStringList& arguments, CommandOutput& output)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary());
    parser.addOption({{"d", "device"}, "The camera: an index, a node (/dev/video2), a serial number, a USB port "
                                       "path (bus info) or a unique part of its name. Default: the first of "
                                       "the maker's cameras, else the first camera.",
                      "camera"});
    parser.addOption({"json", "Print JSON instead of text."});
    parser.addOption({{"h", "help"}, "Show this help."});
    command.setUp(parser);

    const QString program = "tarvello-ctl " + command.name();
    if (!parser.parse(QStringList{program} + CameraStream::followArguments(arguments))) {
        output.err() << program << ": " << parser.errorText() << '\n';
        return Tarvello::CtlError::kBadInput;
    }
    if (parser.isSet("help")) {
        QString help = parser.helpText();
        // The parser names the program by its file; the subcommand belongs there too.
        help.replace(QRegularExpression("^Usage: \\S+"), "Usage: " + program);
        output.out() << help << '\n' << kExitStatuses;
        return 0;
    }
    try {
        const int status = command.run(parser, output);
        output.out().flush();
        return status;
    } catch (const Tarvello::CtlError& error) {
        output.out().flush();
        output.err() << program << ": " << error.message() << '\n';
        // A missing or unopenable camera usually has a cause doctor can name.
        if (error.message().startsWith("No camera found") || error.message().contains("cannot be opened"))
            output.err() << "'tarvello-ctl doctor' may tell why.\n";
        return error.exitCode();
    } catch (const std::exception& error) {
        output.out().flush();
        output.err() << program << ": " << error.what() << '\n';
        return Tarvello::CtlError::kFailed;
    }
}

void CtlProgram::printOverview(CommandOutput& output) const
{
    QTextStream& out = output.out();
    out << "Usage: tarvello-ctl COMMAND [options] [arguments]\n\n"
           "Lists, inspects and controls the cameras Tarvello Center shows, from a shell.\n"
           "Every command takes -d/--device to choose the camera, --json for listings\n"
           "and --help for its own options.\n\nCommands:\n";
    for (const auto& command : m_commands)
        out << "  " << command->name().leftJustified(10) << command->summary() << '\n';
    out << '\n' << kExitStatuses;
}
