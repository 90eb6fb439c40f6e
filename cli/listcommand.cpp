#include "listcommand.h"

#include "commandoutput.h"
#include "texttable.h"

#include <cameraselector.h>
#include <ctlerror.h>

#include <QJsonArray>
#include <QJsonObject>

using namespace Tarvello;

QString ListCommand::name() const { return "list"; }
QString ListCommand::summary() const
{
    return "List the cameras present. Exits with 3 (no such camera) when there is none.";
}
void ListCommand::setUp(QCommandLineParser&) const {}

int ListCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
    // The camera a command uses when no -d is given, marked as such.
    const int preferred = cameras.isEmpty() ? -1 : CameraSelector(cameras).select(QString());
    if (json(parser)) {
        QJsonArray list;
        for (const CameraEntry& c : cameras)
            list.append(QJsonObject{{"index", c.index}, {"node", c.node}, {"name", c.name}, {"serial", c.serial},
                                    {"vendor_id", c.vendorId}, {"product_id", c.productId}, {"bus_info", c.busInfo},
                                    {"serial_line", c.serialLine}, {"kelvane", c.kelvane},
                                    {"default", c.index == preferred}});
        output.printJson(list);
    } else if (cameras.isEmpty()) {
        output.err() << "No camera found. 'tarvello-ctl doctor' explains why.\n";
    }
    // The same status as every command that finds no camera, so that a
    // script can tell "none" from "some" without parsing the listing.
    if (cameras.isEmpty())
        return CtlError::kNoSuchCamera;
    if (json(parser))
        return 0;
    TextTable table({"#", "NODE", "NAME", "SERIAL", "USB ID", "BUS", "SERIAL LINE", "KELVANE"});
    for (const CameraEntry& c : cameras) {
        const QString usb = c.vendorId.isEmpty() && c.productId.isEmpty() ? "-" : c.vendorId + ":" + c.productId;
        table.addRow({QString::number(c.index) + (c.index == preferred ? "*" : ""), c.node, c.name,
                      c.serial.isEmpty() ? "-" : c.serial, usb, c.busInfo,
                      c.serialLine.isEmpty() ? "-" : c.serialLine, c.kelvane ? "yes" : "no"});
    }
    table.print(output.out());
    return 0;
}
