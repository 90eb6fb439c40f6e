#include "controlscommand.h"

#include "commandoutput.h"
#include "texttable.h"

#include <cameracontrols.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QJsonArray>

using namespace Tarvello;

namespace {

QString limitsText(const ControlDescription& c)
{
    if (!c.entries.isEmpty()) {
        QStringList entries;
        for (int i = 0; i < c.entries.size(); ++i)
            entries << QString("%1=%2").arg(i).arg(c.entries.at(i));
        return entries.join(", ");
    }
    if (!c.hasRange)
        return "-";
    if (c.kind == "string")
        return QString("%1..%2 chars").arg(c.minimum).arg(c.maximum);
    return QString("%1..%2 step %3").arg(c.minimum).arg(c.maximum).arg(c.step);
}

} // namespace

QString ControlsCommand::name() const { return "controls"; }
QString ControlsCommand::summary() const { return "List every control with kind, range, value, flags and family."; }
void ControlsCommand::setUp(QCommandLineParser&) const {}

int ControlsCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const OpenCamera open(device(parser));
    const QVector<ControlDescription> controls = CameraControls(open.camera()).describeAll();
    if (json(parser)) {
        QJsonArray list;
        for (const ControlDescription& control : controls)
            list.append(control.toJson());
        output.printJson(list);
        return 0;
    }
    TextTable table({"KEY", "NAME", "KIND", "RANGE / ENTRIES", "VALUE", "FLAGS", "FAMILY"});
    for (const ControlDescription& c : controls) {
        const QStringList flags = c.flagNames();
        table.addRow({c.key, c.name, c.kind, limitsText(c), c.hasValue() ? "'" + c.valueText() + "'" : "-",
                      flags.isEmpty() ? "-" : flags.join(","), c.family});
    }
    table.print(output.out());
    return 0;
}
