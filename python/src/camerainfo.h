#pragma once

#include <cameraentry.h>

#include <string>
#include <utility>
#include <vector>

namespace ImageAcquisition {
class IDevice;
}

namespace TarvelloPython {

// One listed camera: what selects it (the core's entry) and every property
// the window's info dialog shows, under the dialog's labels.
struct CameraInfo
{
    Tarvello::CameraEntry entry;
    std::vector<std::pair<std::string, std::string>> properties;

    static CameraInfo of(const ImageAcquisition::IDevice& device, int index);
    // The cameras present now, in the layer's order.
    static std::vector<CameraInfo> present();
    // A property by its label; empty when there is none.
    std::string property(const std::string& label) const;
};

} // namespace TarvelloPython
