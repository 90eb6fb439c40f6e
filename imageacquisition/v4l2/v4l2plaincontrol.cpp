#include "v4l2plaincontrol.h"

#include <cstdio>

namespace ImageAcquisition {

void V4l2PlainControl::describe()
{
    std::string text = getName();
    if (getType() == TypeBitmask) {
        char value[32];
        std::snprintf(value, sizeof value, "0x%08llx",
                      static_cast<unsigned long long>(cachedValue()) & 0xffffffffULL);
        text += ": bitmask " + std::string(value);
    } else if (getType() == TypeCompound) {
        text += ": compound value of " + std::to_string(query().elems) + " element"
                + (query().elems == 1 ? "" : "s");
    } else {
        text += ": control of driver type " + std::to_string(query().type);
    }
    setDescription(text);
}

} // namespace ImageAcquisition
