#pragma once

#include "virtualpixelformat.h"

#include <memory>
#include <vector>

namespace ImageAcquisition {

// The pixel formats the virtual camera offers, in the order a camera lists
// them: what the sensor delivers natively first, then what the layer
// converts in software.
std::vector<std::unique_ptr<VirtualPixelFormat>> createVirtualFormats();

} // namespace ImageAcquisition
