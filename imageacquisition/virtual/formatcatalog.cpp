#include "formatcatalog.h"

namespace ImageAcquisition {

namespace {

struct FormatEntry
{
    const char* fourcc;
    const char* description;
    Encoding encoding;
    bool compressed;
    bool emulated;
};

// RGB3 and BGR3 are what a conversion library adds to a Bayer sensor, and
// such libraries describe them by their code alone.
const FormatEntry kFormats[] = {
    {"MJPG", "Motion-JPEG", Encoding::Mjpeg, true, false},
    {"GRBG", "8-bit Bayer GRGR/BGBG", Encoding::BayerGrbg8, false, false},
    {"YUYV", "YUYV 4:2:2", Encoding::Yuyv, false, false},
    {"RGB3", "RGB3", Encoding::Rgb24, false, true},
    {"BGR3", "BGR3", Encoding::Bgr24, false, true},
};

const unsigned kSizes[][2] = {{320, 240}, {640, 480}, {1280, 720}, {1920, 1080}};

const int kIntervals[][2] = {{1, 60}, {1, 30}, {1, 15}, {2, 15}};

} // namespace

std::vector<std::unique_ptr<VirtualPixelFormat>> createVirtualFormats()
{
    std::vector<std::unique_ptr<VirtualPixelFormat>> formats;
    for (const FormatEntry& entry : kFormats) {
        auto format = std::make_unique<VirtualPixelFormat>(entry.fourcc, entry.description, entry.encoding,
                                                           entry.compressed, entry.emulated);
        for (const auto& size : kSizes) {
            std::vector<VirtualFrameInterval> intervals;
            for (const auto& interval : kIntervals)
                intervals.emplace_back(interval[0], interval[1]);
            format->addResolution(std::make_unique<VirtualResolution>(
                size[0], size[1], bytesPerLine(entry.encoding, static_cast<int>(size[0])),
                std::move(intervals)));
        }
        formats.push_back(std::move(format));
    }
    return formats;
}

} // namespace ImageAcquisition
