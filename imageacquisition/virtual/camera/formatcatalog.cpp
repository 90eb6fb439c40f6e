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

const int kIntervals[][2] = {{1, 60}, {1, 30}, {1, 15}, {2, 15}};

// Each size offers a run of kIntervals: 4K only 1/30 and 1/15, as a 4K
// sensor's readout does not reach 60 frames a second.
struct SizeEntry
{
    unsigned width;
    unsigned height;
    int firstInterval;
    int intervalCount;
};

const SizeEntry kSizes[] = {
    {320, 240, 0, 4}, {640, 480, 0, 4}, {1280, 720, 0, 4}, {1920, 1080, 0, 4}, {3840, 2160, 1, 2},
};

} // namespace

std::vector<std::unique_ptr<VirtualPixelFormat>> createVirtualFormats()
{
    std::vector<std::unique_ptr<VirtualPixelFormat>> formats;
    for (const FormatEntry& entry : kFormats) {
        auto format = std::make_unique<VirtualPixelFormat>(entry.fourcc, entry.description, entry.encoding,
                                                           entry.compressed, entry.emulated);
        for (const SizeEntry& size : kSizes) {
            std::vector<VirtualFrameInterval> intervals;
            for (int i = size.firstInterval; i < size.firstInterval + size.intervalCount; ++i)
                intervals.emplace_back(kIntervals[i][0], kIntervals[i][1]);
            format->addResolution(std::make_unique<VirtualResolution>(
                size.width, size.height, bytesPerLine(entry.encoding, static_cast<int>(size.width)),
                std::move(intervals)));
        }
        formats.push_back(std::move(format));
    }
    return formats;
}

} // namespace ImageAcquisition
