#include "deviceproperties.h"

#include "layertext.h"

#include <imageacquisition/imageacquisition.h>

namespace Tarvello {

using ImageAcquisition::IDevice;

QVector<DeviceProperties::Property> DeviceProperties::of(const IDevice& device)
{
    const auto flag = [](bool value) { return QString(value ? "True" : "False"); };
    return {
        {"Name", layerText(device.getName())},
        {"System Name", layerText(device.getSystemName())},
        {"Driver", layerText(device.getDriver())},
        {"Driver Version", layerText(device.getDriverVersion())},
        {"Bus Info", layerText(device.getBusInfo())},
        {"Vendor Id", layerText(device.getVendorId())},
        {"Product Id", layerText(device.getProductId())},
        {"Manufacturer", layerText(device.getManufacturer())},
        {"Serial", layerText(device.getSerial())},
        {"Supports Asynch IO", flag(device.supportsAsynchIO())},
        {"Supports Multiplane", flag(device.supportsMultiplane())},
        {"Supports Read/Write", flag(device.supportsReadWrite())},
        {"Supports Streaming", flag(device.supportsStreaming())},
        {"Supports Video Capture", flag(device.supportsVideoCapture())},
        {"Is a Kelvane Device", flag(device.isKelvaneDevice())},
        {"Firmware Version", layerText(device.getFirmwareVersion())},
    };
}

} // namespace Tarvello
