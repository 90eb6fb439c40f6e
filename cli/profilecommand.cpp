#include "profilecommand.h"

#include "commandoutput.h"

#include <badinput.h>
#include <ctlerror.h>
#include <opencamera.h>
#include <profile.h>
#include <storedprofile.h>
#include <refused.h>

#include <imageacquisition/imageacquisition.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

using namespace Tarvello;

QString ProfileCommand::name() const { return "profile"; }
QString ProfileCommand::summary() const
{
    return "Save all writable controls to a JSON file, or load them back; or keep them as the camera's "
           "stored profile, which comes back whenever it is plugged in.\n"
           "Loading checks the whole file against the camera first (names, types, ranges); nothing is "
           "written when any entry is wrong. Automatic modes are written before the values they govern, "
           "and each control the camera refuses is reported.\n"
           "Stored profiles are kept by serial number, for this user in "
           "$XDG_CONFIG_HOME/tarvello/cameras/ (applied by the Python module's open() and the GStreamer "
           "element), or with --system for everyone in /etc/tarvello/cameras/ (applied by the udev rule "
           "when the camera is plugged in).";
}

void ProfileCommand::setUp(QCommandLineParser& parser) const
{
    parser.addPositionalArgument("save|load|store|forget|show|apply",
                                 "save FILE writes the profile (- for standard output); load FILE applies it "
                                 "(- for standard input); store keeps the camera's controls as its stored "
                                 "profile; forget removes it; show prints the camera's controls as a profile "
                                 "(--stored: the stored one); apply --stored applies the stored one.");
    parser.addPositionalArgument("FILE", "The profile file (save and load).");
    parser.addOption({"dry-run", "With load or apply: show what would change, write nothing."});
    parser.addOption({"stored", "With show or apply: the camera's stored profile."});
    parser.addOption({"system", "With store, forget, show --stored and apply --stored: the profile kept for "
                                "every user (/etc/tarvello/cameras/) instead of this user's."});
}

int ProfileCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const QStringList arguments = parser.positionalArguments();
    const QString action = arguments.value(0);
    const bool withFile = action == "save" || action == "load";
    const bool known = withFile || action == "store" || action == "forget" || action == "show" || action == "apply";
    if (!known || arguments.size() != (withFile ? 2 : 1) || (action == "apply" && !parser.isSet("stored")))
        throw BadInput("Usage: tarvello-ctl profile save FILE | load FILE [--dry-run] | store [--system] | "
                       "forget [--system] | show [--stored [--system]] | apply --stored [--system] [--dry-run]");
    if (action == "save")
        return save(arguments[1], parser, output);
    if (action == "load")
        return load(arguments[1], parser, output);
    if (action == "show" && !parser.isSet("stored"))
        return save("-", parser, output);
    return stored(action, parser, output);
}

int ProfileCommand::stored(const QString& action, const QCommandLineParser& parser, CommandOutput& output)
{
    const StoredProfile::Scope scope = parser.isSet("system") ? StoredProfile::Scope::System : StoredProfile::Scope::User;
    const QString whose = parser.isSet("system") ? "every user" : "this user";
    const OpenCamera open(device(parser));
    const StoredProfile profile(open.entry(), scope);
    if (action == "store") {
        const int count = profile.store(open.camera());
        output.out() << "Stored " << count << " controls of " << open.entry().name << " (" << open.entry().serial
                     << ") for " << whose << " in " << profile.path() << ".\n";
        return 0;
    }
    if (action == "forget") {
        if (profile.forget())
            output.out() << "Forgot the stored profile " << profile.path() << ".\n";
        else
            output.out() << "There is no stored profile " << profile.path() << ".\n";
        return 0;
    }
    if (action == "show") {
        const std::optional<QByteArray> text = profile.read();
        if (!text)
            throw CtlError(QString("%1 (%2) has no stored profile for %3 (%4).")
                               .arg(open.entry().name, open.entry().serial, whose, profile.path()),
                           CtlError::kFailed);
        output.out() << QString::fromUtf8(*text);
        return 0;
    }
    // apply --stored: run at every plug, so a camera without one is no failure.
    if (!profile.exists()) {
        output.out() << "No stored profile for " << open.entry().serial << " (" << profile.path()
                     << "); nothing to apply.\n";
        return 0;
    }
    if (parser.isSet("dry-run"))
        return load(profile.path(), parser, output);
    ProfilePlan plan;
    const WriteOutcome outcome = *profile.apply(open.camera(), &plan);
    for (const QString& note : plan.notes)
        output.err() << "Note: " << note << '\n';
    for (const QString& written : outcome.written)
        output.out() << "set " << written << '\n';
    if (!outcome.complete())
        throw Refused("The stored profile " + profile.path() + " was applied only in part; the camera is left as "
                      "listed.\n" + outcome.report(),
                      outcome.written);
    output.out() << "Applied the stored profile " << profile.path() << " to " << open.entry().name << ".\n";
    return 0;
}

int ProfileCommand::save(const QString& file, const QCommandLineParser& parser, CommandOutput& output)
{
    const OpenCamera open(device(parser));
    const QJsonObject profile = Profile::save(open.camera(), open.entry());
    const QByteArray json = QJsonDocument(profile).toJson(QJsonDocument::Indented);
    if (file == "-") {
        output.out() << QString::fromUtf8(json);
        return 0;
    }
    // A profile half written over an old one would be worse than either.
    QSaveFile saveFile(file);
    if (!saveFile.open(QIODevice::WriteOnly) || saveFile.write(json) != json.size() || !saveFile.commit())
        throw CtlError(QString("Cannot write %1: %2").arg(file, saveFile.errorString()), CtlError::kFailed);
    output.out() << "Saved " << profile["controls"].toArray().size() << " controls of " << open.entry().name
                 << " to " << file << ".\n";
    return 0;
}

int ProfileCommand::load(const QString& file, const QCommandLineParser& parser, CommandOutput& output)
{
    QByteArray text;
    if (file == "-") {
        QFile input;
        if (!input.open(stdin, QIODevice::ReadOnly))
            throw BadInput(QString("Cannot read standard input: %1").arg(input.errorString()));
        text = input.readAll();
    } else {
        text = Profile::readFile(file);
    }

    const OpenCamera open(device(parser));
    const ProfilePlan plan = Profile::check(open.camera(), open.entry(), text);
    for (const QString& note : plan.notes)
        output.err() << "Note: " << note << '\n';

    const bool dryRun = parser.isSet("dry-run");
    if (json(parser) && dryRun) {
        output.printJson(QJsonObject{{"changes", QJsonArray::fromStringList(plan.changeLines())},
                                     {"unchanged", QJsonArray::fromStringList(plan.unchanged)}});
        return 0;
    }
    if (dryRun) {
        if (plan.changes.isEmpty())
            output.out() << "Nothing would change.\n";
        for (const QString& line : plan.changeLines())
            output.out() << "would set " << line << '\n';
        return 0;
    }
    const WriteOutcome outcome = Profile::apply(open.camera(), plan);
    for (const QString& written : outcome.written)
        output.out() << "set " << written << '\n';
    if (!outcome.complete())
        throw Refused("The profile was applied only in part; the camera is left as listed.\n" + outcome.report(),
                      outcome.written);
    if (plan.changes.isEmpty())
        output.out() << "Nothing to change: the camera already matches the profile.\n";
    return 0;
}
