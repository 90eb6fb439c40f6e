#pragma once

#include <QString>

namespace Tarvello {

// Texts of the camera layer are UTF-8 it owns, and may be null.
inline QString layerText(const char* text)
{
    return QString::fromUtf8(text ? text : "");
}

} // namespace Tarvello
