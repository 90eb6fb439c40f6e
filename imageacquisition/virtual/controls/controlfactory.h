#pragma once

#include "virtualcontrol.h"

#include <memory>
#include <vector>

namespace ImageAcquisition {

// One control object for each entry of the catalogue, of the kind its type names.
std::vector<std::unique_ptr<VirtualControl>> createControls(DeviceState& state);

} // namespace ImageAcquisition
