#pragma once

namespace Tarvello {

// The largest picture worth decoding from a compressed frame. Cameras of the
// layer go up to 3840x2160; a frame whose header declares more than four
// such pictures, or a side longer than four of theirs, carries a corrupt
// header, and decoding it would only allocate memory for noise.
namespace PictureLimits {

constexpr int kMaxDimension = 15360;
constexpr long long kMaxPixels = 33177600;

// False as well for a size a reader could not tell (zero or negative).
constexpr bool allowed(long long width, long long height)
{
    return width > 0 && height > 0 && width <= kMaxDimension && height <= kMaxDimension
        && width * height <= kMaxPixels;
}

} // namespace PictureLimits
} // namespace Tarvello
