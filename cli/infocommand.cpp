#include "infocommand.h"

#include "commandoutput.h"
#include "texttable.h"

#include <deviceproperties.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QJsonObject>

using namespace Tarvello;

QString InfoCommand::name() const { return "info"; }
QString InfoCommand::summary() const { return "Show every property of the camera."; }
void InfoCommand::setUp(QCommandLineParser&) const {}

int InfoCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const OpenCamera open(device(parser));
    const QVector<DeviceProperties::Property> properties = DeviceProperties::of(*open.camera().getDevice());
    if (json(parser)) {
        QJsonObject object{{"index", open.entry().index}};
        for (const auto& property : properties)
            object[property.first] = property.second;
        output.printJson(object);
        return 0;
    }
    TextTable table({"PROPERTY", "VALUE"});
    for (const auto& property : properties)
        table.addRow({property.first, property.second});
    table.print(output.out());
    return 0;
}
