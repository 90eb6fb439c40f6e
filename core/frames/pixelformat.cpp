#include "pixelformat.h"

#include <utility>

namespace Tarvello {

namespace {

struct Description
{
    const char* fourcc;
    PixelFormat::Kind kind;
    int bytesPerPixel;
};

constexpr Description kDescriptions[] = {
    {"RGB3", PixelFormat::Kind::Rgb, 3},   {"BGR3", PixelFormat::Kind::Bgr, 3},
    {"GRBG", PixelFormat::Kind::Bayer, 1}, {"GBRG", PixelFormat::Kind::Bayer, 1},
    {"RGGB", PixelFormat::Kind::Bayer, 1}, {"BA81", PixelFormat::Kind::Bayer, 1},
    {"YUYV", PixelFormat::Kind::Yuyv, 2},  {"MJPG", PixelFormat::Kind::Jpeg, 0},
    {"JPEG", PixelFormat::Kind::Jpeg, 0},
};

} // namespace

PixelFormat::PixelFormat(std::string fourcc, Kind kind, int bytesPerPixel)
    : m_fourcc(std::move(fourcc)), m_kind(kind), m_bytesPerPixel(bytesPerPixel)
{
}

PixelFormat PixelFormat::of(const std::string& fourcc)
{
    for (const Description& description : kDescriptions) {
        if (fourcc == description.fourcc)
            return PixelFormat(fourcc, description.kind, description.bytesPerPixel);
    }
    return PixelFormat(fourcc, Kind::Unknown, 0);
}

long long PixelFormat::rowBytes(int width) const
{
    return width > 0 ? (long long)width * m_bytesPerPixel : 0;
}

long long PixelFormat::wholeFrameBytes(int width, int height, int bytesPerLine) const
{
    const long long row = rowBytes(width);
    if (row <= 0 || height <= 0 || bytesPerLine < row)
        return -1;
    return (long long)bytesPerLine * (height - 1) + row;
}

bool PixelFormat::holdsWholeFrame(long long size, int width, int height, int bytesPerLine) const
{
    const long long needed = wholeFrameBytes(width, height, bytesPerLine);
    return needed > 0 && size >= needed;
}

} // namespace Tarvello
