#pragma once

#include "backend.h"

#include <memory>

namespace ImageAcquisition {

// Cameras simulated in the process (see virtualregistry.h for how many).
std::unique_ptr<Backend> createVirtualBackend();

} // namespace ImageAcquisition
