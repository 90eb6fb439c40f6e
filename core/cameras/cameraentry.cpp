#include "cameraentry.h"

#include "layertext.h"

#include <imageacquisition/imageacquisition.h>

#include <QStringList>

namespace Tarvello {

CameraEntry CameraEntry::from(const ImageAcquisition::IDevice& device, int index)
{
    CameraEntry entry;
    entry.index = index;
    entry.node = layerText(device.getSystemName());
    entry.name = layerText(device.getName());
    entry.serial = layerText(device.getSerial());
    entry.vendorId = layerText(device.getVendorId());
    entry.productId = layerText(device.getProductId());
    entry.busInfo = layerText(device.getBusInfo());
    entry.serialLine = layerText(device.getSerialLine());
    entry.kelvane = device.isKelvaneDevice();
    return entry;
}

QString CameraEntry::summary() const
{
    QString text = QString("%1: %2 (%3").arg(index).arg(name, node);
    if (!serial.isEmpty())
        text += ", serial " + serial;
    if (!busInfo.isEmpty())
        text += ", " + busInfo;
    return text + ")";
}

QString CameraEntry::identity() const
{
    return QStringList{node, serial, name, busInfo}.join('\n');
}

} // namespace Tarvello
