// The device list and the format lists agree with what the driver reports.

#include "guest.h"
#include "rawdevice.h"

#include <sstream>

namespace Guest {

namespace {

void checkDevice(const IDevice& device, const v4l2_capability& caps)
{
    CHECK_EQ(device.getSystemName(), "/dev/video0");
    CHECK_EQ(device.getName(), reinterpret_cast<const char*>(caps.card));
    CHECK_EQ(device.getDriver(), "vivid");
    CHECK_EQ(device.getBusInfo(), reinterpret_cast<const char*>(caps.bus_info));
    CHECK_EQ(device.getDriverVersion(), std::to_string(caps.version >> 16) + "."
                                            + std::to_string((caps.version >> 8) & 0xff) + "."
                                            + std::to_string(caps.version & 0xff));
    CHECK(device.supportsVideoCapture() && device.supportsStreaming() && !device.supportsMultiplane());
    CHECK_EQ(device.supportsReadWrite(), (caps.device_caps & V4L2_CAP_READWRITE) != 0);
    // A platform device: no USB parent to describe it.
    CHECK(!*device.getVendorId() && !*device.getSerial() && !device.isKelvaneDevice());
}

// A format's sizes with their strides and intervals, as the layer lists them.
std::string describe(IPixelFormat& format)
{
    std::ostringstream text;
    text << format.getFourCC() << ' ' << format.getDescription() << ' ' << format.isCompressed();
    for (int r = 0; r < format.getResolutionCount(); ++r) {
        IResolution* size = format.getResolution(r);
        text << ", " << size->getWidth() << 'x' << size->getHeight() << '/' << size->getBytesPerLine();
        for (int f = 0; f < size->getFrameIntervalCount(); ++f)
            text << ' ' << size->getFrameInterval(f)->getNumerator() << ':'
                 << size->getFrameInterval(f)->getDenominator();
    }
    return text.str();
}

// The same, as the driver lists them.
std::string describe(const RawDevice& raw, const v4l2_fmtdesc& format)
{
    const __u32 fourcc = format.pixelformat;
    std::ostringstream text;
    text << fourccText(fourcc) << ' ' << fourccText(fourcc) << ' ' << ((format.flags & V4L2_FMT_FLAG_COMPRESSED) != 0);
    v4l2_frmsizeenum sizes{};
    sizes.pixel_format = fourcc;
    for (const auto& size : raw.list(VIDIOC_ENUM_FRAMESIZES, sizes)) {
        v4l2_frmivalenum intervals{};
        intervals.pixel_format = fourcc;
        intervals.width = size.discrete.width;
        intervals.height = size.discrete.height;
        text << ", " << intervals.width << 'x' << intervals.height << '/'
             << raw.format(fourcc, intervals.width, intervals.height).bytesperline;
        for (const auto& interval : raw.list(VIDIOC_ENUM_FRAMEINTERVALS, intervals))
            text << ' ' << interval.discrete.numerator << ':' << interval.discrete.denominator;
    }
    return text.str();
}

void checkSelection(ICamera& camera, const RawDevice& raw)
{
    IPixelFormat* format = camera.getFormat(camera.getCurrentFormatIndex());
    IResolution* size = format->getResolution(camera.getCurrentResolutionIndex());
    IFrameInterval* interval = size->getFrameInterval(camera.getCurrentFrameIntervalIndex());
    const v4l2_pix_format current = raw.format();
    CHECK_EQ(format->getFourCC(), fourccText(current.pixelformat));
    CHECK_EQ(size->getWidth(), current.width);
    CHECK_EQ(size->getHeight(), current.height);
    CHECK_EQ(interval->getNumerator(), raw.interval().numerator);
    CHECK_EQ(interval->getDenominator(), raw.interval().denominator);
}

} // namespace

GROUP(enumeration)
{
    RawDevice raw;
    const auto capability = raw.get<v4l2_capability>(VIDIOC_QUERYCAP);
    // The metadata node beside the capture node is left out.
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (!CHECK_EQ(list->getDeviceCount(), 1))
        return;
    std::unique_ptr<IStreamingCamera> camera(ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(0)));
    // The camera keeps its own description once the list is gone.
    list.reset();
    if (!CHECK(camera))
        return;
    checkDevice(*camera->getDevice(), capability);

    // Native formats as the driver lists them; converted ones after them.
    v4l2_fmtdesc capture{};
    capture.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const auto formats = raw.list(VIDIOC_ENUM_FMT, capture);
    CHECK(camera->getFormatCount() >= static_cast<int>(formats.size()));
    CHECK(!camera->getFormat(-1) && !camera->getFormat(camera->getFormatCount()));
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        IPixelFormat* format = camera->getFormat(i);
        if (CHECK_EQ(format->isEmulated(), i >= static_cast<int>(formats.size())) && !format->isEmulated())
            CHECK_EQ(describe(*format), describe(raw, formats[i]));
    }
    checkSelection(*camera, raw);

    // A choice reaches the driver; refusals leave it in force.
    const int last = static_cast<int>(formats.size()) - 1;
    const int lastSize = camera->getFormat(last)->getResolutionCount() - 1;
    const int lastInterval = camera->getFormat(last)->getResolution(lastSize)->getFrameIntervalCount() - 1;
    CHECK(camera->setFormat(last, lastSize, lastInterval));
    const int refused[][3] = {{camera->getFormatCount(), 0, 0}, {last, lastSize + 1, 0}, {last, 0, 1000}};
    for (const auto& bad : refused)
        CHECK(!camera->setFormat(bad[0], bad[1], bad[2]));
    CHECK(camera->getCurrentFormatIndex() == last && camera->getCurrentResolutionIndex() == lastSize
          && camera->getCurrentFrameIntervalIndex() == lastInterval);
    checkSelection(*camera, raw);
}

GROUP(multiplanar)
{
    RawDevice raw;
    CHECK(raw.get<v4l2_capability>(VIDIOC_QUERYCAP).device_caps & V4L2_CAP_VIDEO_CAPTURE_MPLANE);
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    CHECK_EQ(list->getDeviceCount(), 0);
}

} // namespace Guest
