#include "profilecommand.h"

#include "commandoutput.h"

#include <badinput.h>
#include <ctlerror.h>
#include <opencamera.h>
#include <profile.h>
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
    return "Save all writable controls to a JSON file, or load them back.\n"
           "Loading checks the whole file against the camera first (names, types, ranges); nothing is "
           "written when any entry is wrong. Automatic modes are written before the values they govern, "
           "and each control the camera refuses is reported.";
}

void ProfileCommand::setUp(QCommandLineParser& parser) const
{
    parser.addPositionalArgument("save|load", "save FILE writes the profile (- for standard output); "
                                              "load FILE applies it (- for standard input).");
    parser.addPositionalArgument("FILE", "The profile file.");
    parser.addOption({"dry-run", "With load: show what would change, write nothing."});
}

int ProfileCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2 || (arguments[0] != "save" && arguments[0] != "load"))
        throw BadInput("Usage: tarvello-ctl profile save FILE | profile load FILE [--dry-run]");
    if (arguments[0] == "save")
        return save(arguments[1], parser, output);
    return load(arguments[1], parser, output);
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
