#include "infocommand.h"

#include "commandoutput.h"
#include "texttable.h"

#include <ctlerror.h>
#include <deviceproperties.h>
#include <layertext.h>
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
    const ImageAcquisition::IDevice* described = open.camera().getDevice();
    if (!described)
        throw CtlError(QString("%1 does not describe itself.").arg(open.entry().name), CtlError::kFailed);
    QVector<DeviceProperties::Property> properties = DeviceProperties::of(*described);
    // Not a row of the window's info dialog, which always opens
    // /dev/ttyACM0: the line this camera brought with it.
    properties.append({"Serial Line", layerText(described->getSerialLine())});
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
