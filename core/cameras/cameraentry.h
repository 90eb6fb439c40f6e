#pragma once

#include <QString>

namespace ImageAcquisition {
class IDevice;
}

namespace Tarvello {

// What identifies one listed camera, copied out of the layer's device so it
// outlives the device list it came from.
struct CameraEntry
{
    int index = -1;
    QString node;
    QString name;
    QString serial;
    QString vendorId;
    QString productId;
    QString busInfo;
    // The camera's own serial line (such as /dev/ttyACM1); empty when it has
    // none or the layer cannot tell.
    QString serialLine;
    bool kelvane = false;

    static CameraEntry from(const ImageAcquisition::IDevice& device, int index);
    // One line for lists of candidates in messages.
    QString summary() const;
    // What tells this camera from another, also from one that later gets
    // the same node or index: for following plugs and unplugs.
    QString identity() const;
};

} // namespace Tarvello
