#include "getcommand.h"

#include "commandoutput.h"

#include <badinput.h>
#include <cameracontrols.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QJsonObject>

using namespace Tarvello;

QString GetCommand::name() const { return "get"; }
QString GetCommand::summary() const { return "Print the values of the named controls, one per line."; }
void GetCommand::setUp(QCommandLineParser& parser) const
{
    parser.addPositionalArgument("NAME", "A control's name or key (see 'controls').", "NAME...");
}

int GetCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    if (parser.positionalArguments().isEmpty())
        throw BadInput("Name at least one control ('tarvello-ctl controls' lists them).");
    const OpenCamera open(device(parser));
    const CameraControls controls(open.camera());
    // Every name is looked up before anything is printed, so that a typo
    // does not leave half an answer.
    QVector<ControlDescription> found;
    for (const QString& name : parser.positionalArguments())
        found.append(ControlDescription::of(controls.find(name)));
    if (json(parser)) {
        QJsonObject values;
        for (const ControlDescription& control : found)
            values[control.name] = control.toJson();
        output.printJson(values);
        return 0;
    }
    for (const ControlDescription& control : found)
        output.out() << control.name << " = " << (control.hasValue() ? control.valueText() : "(no value)") << '\n';
    return 0;
}
