// The device list and the format lists agree with what the driver reports.

#include "check.h"
#include "rawdevice.h"
#include "sections.h"

#include <cstring>

using namespace ImageAcquisition;

namespace Guest {

namespace {

std::string field(const __u8* text, std::size_t size)
{
    return std::string(reinterpret_cast<const char*>(text),
                       ::strnlen(reinterpret_cast<const char*>(text), size));
}

void checkDevice(const IDevice& device, const v4l2_capability& capability)
{
    CHECK_EQ(std::string(device.getSystemName()), std::string("/dev/video0"));
    CHECK_EQ(std::string(device.getName()), field(capability.card, sizeof capability.card));
    CHECK_EQ(std::string(device.getDriver()), std::string("vivid"));
    CHECK_EQ(std::string(device.getBusInfo()),
             field(capability.bus_info, sizeof capability.bus_info));
    const std::string version = std::to_string(capability.version >> 16) + "."
                                + std::to_string((capability.version >> 8) & 0xff) + "."
                                + std::to_string(capability.version & 0xff);
    CHECK_EQ(std::string(device.getDriverVersion()), version);
    const __u32 caps = capability.device_caps;
    CHECK_EQ(device.supportsVideoCapture(), (caps & V4L2_CAP_VIDEO_CAPTURE) != 0);
    CHECK_EQ(device.supportsStreaming(), (caps & V4L2_CAP_STREAMING) != 0);
    CHECK_EQ(device.supportsReadWrite(), (caps & V4L2_CAP_READWRITE) != 0);
    CHECK_EQ(device.supportsAsynchIO(), (caps & V4L2_CAP_ASYNCIO) != 0);
    CHECK(!device.supportsMultiplane());
    // vivid is a platform device: no USB parent, so no USB properties.
    CHECK_EQ(std::string(device.getVendorId()), std::string());
    CHECK_EQ(std::string(device.getProductId()), std::string());
    CHECK_EQ(std::string(device.getManufacturer()), std::string());
    CHECK_EQ(std::string(device.getSerial()), std::string());
    CHECK_EQ(std::string(device.getFirmwareVersion()), std::string());
    CHECK(!device.isKelvaneDevice());
}

} // namespace

void testEnumeration()
{
    RawDevice raw;
    CHECK(raw.isOpen());
    const v4l2_capability capability = raw.capability();

    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    CHECK_EQ(list->getDeviceCount(), 1);
    if (list->getDeviceCount() != 1)
        return;
    CHECK(!list->getDevice(-1));
    CHECK(!list->getDevice(1));
    checkDevice(*list->getDevice(0), capability);

    std::unique_ptr<IStreamingCamera> camera(
        ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(0)));
    CHECK(camera);
    if (!camera)
        return;
    // The camera keeps its own description once the list is gone.
    const IDevice* ownDevice = camera->getDevice();
    CHECK(ownDevice != list->getDevice(0));
    list.reset();
    checkDevice(*ownDevice, capability);

    // Native formats in the driver's order, each with the driver's sizes,
    // strides and intervals; converted formats (if any) only after them.
    const auto formats = raw.formats();
    int native = 0;
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        IPixelFormat* format = camera->getFormat(i);
        if (format->isEmulated())
            continue;
        ++native;
        if (static_cast<std::size_t>(i) >= formats.size()) {
            CHECK_MSG(false,
                      std::string("format not reported by the driver: ") + format->getFourCC());
            continue;
        }
        const v4l2_fmtdesc& expected = formats[static_cast<std::size_t>(i)];
        CHECK_EQ(std::string(format->getFourCC()), fourccText(expected.pixelformat));
        CHECK_EQ(std::string(format->getDescription()), fourccText(expected.pixelformat));
        CHECK_EQ(format->isCompressed(), (expected.flags & V4L2_FMT_FLAG_COMPRESSED) != 0);
        const auto sizes = raw.sizes(expected.pixelformat);
        CHECK_EQ(format->getResolutionCount(), static_cast<int>(sizes.size()));
        for (int r = 0; r < format->getResolutionCount() && r < static_cast<int>(sizes.size());
             ++r) {
            IResolution* resolution = format->getResolution(r);
            const auto& size = sizes[static_cast<std::size_t>(r)];
            CHECK_EQ(resolution->getWidth(), size.first);
            CHECK_EQ(resolution->getHeight(), size.second);
            const v4l2_format tried = raw.tryFormat(expected.pixelformat, size.first, size.second);
            CHECK_EQ(resolution->getBytesPerLine(), static_cast<int>(tried.fmt.pix.bytesperline));
            const auto intervals = raw.intervals(expected.pixelformat, size.first, size.second);
            CHECK_EQ(resolution->getFrameIntervalCount(), static_cast<int>(intervals.size()));
            for (int f = 0;
                 f < resolution->getFrameIntervalCount() && f < static_cast<int>(intervals.size());
                 ++f) {
                CHECK_EQ(static_cast<unsigned>(resolution->getFrameInterval(f)->getNumerator()),
                         intervals[static_cast<std::size_t>(f)].first);
                CHECK_EQ(static_cast<unsigned>(resolution->getFrameInterval(f)->getDenominator()),
                         intervals[static_cast<std::size_t>(f)].second);
            }
            CHECK(!resolution->getFrameInterval(-1));
            CHECK(!resolution->getFrameInterval(resolution->getFrameIntervalCount()));
        }
        CHECK(!format->getResolution(-1));
        CHECK(!format->getResolution(format->getResolutionCount()));
    }
    CHECK_EQ(native, static_cast<int>(formats.size()));
    CHECK(!camera->getFormat(-1));
    CHECK(!camera->getFormat(camera->getFormatCount()));

    // The current selection is what the driver has in force.
    const v4l2_format current = raw.currentFormat();
    IPixelFormat* format = camera->getFormat(camera->getCurrentFormatIndex());
    CHECK(format);
    if (!format)
        return;
    CHECK_EQ(std::string(format->getFourCC()), fourccText(current.fmt.pix.pixelformat));
    IResolution* resolution = format->getResolution(camera->getCurrentResolutionIndex());
    CHECK(resolution);
    if (!resolution)
        return;
    CHECK_EQ(resolution->getWidth(), current.fmt.pix.width);
    CHECK_EQ(resolution->getHeight(), current.fmt.pix.height);
    const v4l2_fract period = raw.currentInterval();
    IFrameInterval* interval = resolution->getFrameInterval(camera->getCurrentFrameIntervalIndex());
    CHECK(interval);
    if (interval) {
        CHECK_EQ(static_cast<unsigned>(interval->getNumerator()), period.numerator);
        CHECK_EQ(static_cast<unsigned>(interval->getDenominator()), period.denominator);
    }

    // A choice reaches the driver: the last resolution and interval of RGB3.
    const int rgb = findFormat(*camera, "RGB3", false);
    CHECK(rgb >= 0);
    if (rgb < 0)
        return;
    IPixelFormat* rgbFormat = camera->getFormat(rgb);
    const int lastSize = rgbFormat->getResolutionCount() - 1;
    IResolution* rgbSize = rgbFormat->getResolution(lastSize);
    const int lastInterval = rgbSize->getFrameIntervalCount() - 1;
    CHECK(camera->setFormat(rgb, lastSize, lastInterval));
    CHECK_EQ(camera->getCurrentFormatIndex(), rgb);
    CHECK_EQ(camera->getCurrentResolutionIndex(), lastSize);
    CHECK_EQ(camera->getCurrentFrameIntervalIndex(), lastInterval);
    const v4l2_format chosen = raw.currentFormat();
    CHECK_EQ(fourccText(chosen.fmt.pix.pixelformat), std::string("RGB3"));
    CHECK_EQ(chosen.fmt.pix.width, rgbSize->getWidth());
    CHECK_EQ(chosen.fmt.pix.height, rgbSize->getHeight());
    CHECK_EQ(static_cast<int>(chosen.fmt.pix.bytesperline), rgbSize->getBytesPerLine());
    const v4l2_fract chosenPeriod = raw.currentInterval();
    CHECK_EQ(chosenPeriod.numerator,
             static_cast<unsigned>(rgbSize->getFrameInterval(lastInterval)->getNumerator()));
    CHECK_EQ(chosenPeriod.denominator,
             static_cast<unsigned>(rgbSize->getFrameInterval(lastInterval)->getDenominator()));

    // Refusals leave the selection as it was.
    CHECK(!camera->setFormat(-1, 0, 0));
    CHECK(!camera->setFormat(camera->getFormatCount(), 0, 0));
    CHECK(!camera->setFormat(rgb, -1, 0));
    CHECK(!camera->setFormat(rgb, rgbFormat->getResolutionCount(), 0));
    CHECK(!camera->setFormat(rgb, 0, rgbFormat->getResolution(0)->getFrameIntervalCount()));
    CHECK_EQ(camera->getCurrentFormatIndex(), rgb);
    CHECK_EQ(camera->getCurrentResolutionIndex(), lastSize);
    CHECK_EQ(camera->getCurrentFrameIntervalIndex(), lastInterval);
    CHECK(!ICameraFactory::getUniqueInstance()->createCamera(nullptr));
}

void testMultiplanar()
{
    // The node is there and is multi-planar, but the layer leaves it out.
    RawDevice raw;
    CHECK(raw.isOpen());
    CHECK((raw.capability().device_caps & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0);
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    CHECK_EQ(list->getDeviceCount(), 0);
}

} // namespace Guest
