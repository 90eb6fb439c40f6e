#pragma once

#include "v4l2control.h"

namespace ImageAcquisition {

// A control of a kind without an interface of its own (bitmask, compound
// values, unknown types): the application shows its description only, so
// the description carries the value where there is a simple one.
class V4l2PlainControl : public V4l2Control
{
public:
    using V4l2Control::V4l2Control;

protected:
    void describe() override;
};

} // namespace ImageAcquisition
