#pragma once

#include <QPair>
#include <QString>
#include <QVector>

namespace ImageAcquisition {
class IDevice;
}

namespace Tarvello {

// Every property of a device, labelled as the window's info dialog labels
// them, flags as "True" or "False".
class DeviceProperties
{
public:
    using Property = QPair<QString, QString>;
    static QVector<Property> of(const ImageAcquisition::IDevice& device);
};

} // namespace Tarvello
