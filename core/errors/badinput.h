#pragma once

#include "ctlerror.h"

namespace Tarvello {

// Input that cannot mean anything for this camera: an unknown control, a
// value of the wrong type or out of range, a malformed file.
class BadInput : public CtlError
{
public:
    explicit BadInput(const QString& message) : CtlError(message, kBadInput) {}
};

} // namespace Tarvello
