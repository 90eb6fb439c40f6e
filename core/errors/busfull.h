#pragma once

#include "refused.h"

namespace Tarvello {

// A stream the camera's USB bus has no bandwidth left for. The message
// names what else streams on the bus and what would fit.
class BusFull : public Refused
{
public:
    explicit BusFull(const QString& message) : Refused(message) {}
};

} // namespace Tarvello
