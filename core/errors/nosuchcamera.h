#pragma once

#include "ctlerror.h"

namespace Tarvello {

// A selector that names no camera, or several, or a camera that went away.
class NoSuchCamera : public CtlError
{
public:
    explicit NoSuchCamera(const QString& message) : CtlError(message, kNoSuchCamera) {}
};

} // namespace Tarvello
