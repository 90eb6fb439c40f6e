#pragma once

#include "icameracontrol.h"

namespace ImageAcquisition {

// A text with length limits.
class ICameraControlString : public virtual ICameraControl
{
public:
    // Length of the current value in bytes, without the terminating NUL.
    virtual int getLength() const = 0;
    // Copies the value into buffer, which has room for size bytes; the copy
    // is NUL-terminated whenever size is at least 1.
    virtual void getValue(char* buffer, int size) const = 0;
    virtual void setValue(const char* value) = 0;
    virtual int getMinLength() const = 0;
    virtual int getMaxLength() const = 0;
};

} // namespace ImageAcquisition
