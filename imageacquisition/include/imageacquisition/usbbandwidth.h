#pragma once

// What shares a USB bus with a camera: for explaining a stream the bus
// cannot carry. uvcvideo refuses such a stream when it starts
// (startStreaming returns -ENOSPC, "No space left on device"): a camera
// that streams isochronously reserves a share of its bus's periodic
// bandwidth for as long as it streams, and the bus has only so much.
// Not part of what the window uses (imageacquisition.h).

#include <string>
#include <vector>

namespace ImageAcquisition {

class IDevice;

namespace UsbBandwidth {

// Another camera streaming on the same bus.
struct Stream
{
    std::string name;
    std::string serial;
    std::string node;
    // What it streams, such as "MJPG 1280x720 at 1/30"; empty when the
    // layer cannot tell.
    std::string format;
    // What it holds of the bus, in bytes a second; 0 when not known.
    long long bytesPerSecond = 0;
};

struct Bus
{
    // The bus in words, such as "USB bus 3 (high speed, 480 Mbit/s)"; empty
    // for a device that is on no bus the layer knows.
    std::string name;
    // Bytes a second the bus can reserve for streams; 0 when not known.
    long long capacity = 0;
    // The other cameras on the bus that stream now.
    std::vector<Stream> streams;
};

// The bus the device hangs on and what streams on it now, the device's own
// stream left out.
Bus busOf(const IDevice& device);

// About what a stream of this format holds of a bus, in bytes a second:
// raw formats their frames (bytesPerLine, or two bytes a pixel when 0,
// times the height) at the rate; compressed ones a quarter of the same
// picture in YUYV, the allowance a camera typically asks for (each camera
// states its own, so this is an estimate). The virtual cameras' simulated
// bus reserves exactly this.
long long estimate(bool compressed, unsigned width, unsigned height, int bytesPerLine, int numerator,
                   int denominator);

} // namespace UsbBandwidth
} // namespace ImageAcquisition
