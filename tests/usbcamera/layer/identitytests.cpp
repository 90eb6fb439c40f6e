// The camera as the layer lists it: the maker's by its vendor id, with the
// identity its descriptors give, its formats, and its own serial line.

#include "guest.h"

#include "videoformats.h"

#include <imageacquisition/kelvane.h>

#include <cmath>

namespace Guest {

GROUP(identity)
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    // One capture node: uvcvideo's metadata node is no camera.
    if (!CHECK_EQ(list->getDeviceCount(), 1))
        return;
    const IDevice* device = list->getDevice(0);
    CHECK(device->isKelvaneDevice());
    CHECK_EQ(device->getVendorId(), ImageAcquisition::kKelvaneUsbVendorIdText);
    CHECK_EQ(device->getProductId(), "0640");
    CHECK_EQ(device->getManufacturer(), "Kelvane");
    CHECK_EQ(device->getSerial(), "KVE-000042");
    CHECK_EQ(device->getFirmwareVersion(), "2.13");
    CHECK_EQ(device->getBusInfo(), "usb-vhci_hcd.0-1");
    CHECK_EQ(device->getDriver(), "uvcvideo");
    CHECK_EQ(device->getSystemName(), "/dev/video0");
    CHECK(std::string(device->getName()).find("KVC-640 Camera") != std::string::npos);
    CHECK(device->supportsStreaming() && device->supportsVideoCapture() && !device->supportsMultiplane());
    // The camera's ttyACM hangs under the same USB device as its video node.
    CHECK_EQ(device->getSerialLine(), "/dev/ttyACM0");
}

GROUP(formats)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    // The device's own formats, in its order, before libv4l2's converted ones.
    for (int f = 0; f < UsbCamera::kFormatCount; ++f) {
        if (!CHECK(f < camera->getFormatCount()))
            return;
        IPixelFormat* format = camera->getFormat(f);
        const auto& expected = UsbCamera::kFormats[f];
        CHECK_EQ(format->getFourCC(), expected.fourcc);
        CHECK(!format->isEmulated());
        CHECK_EQ(format->isCompressed(), expected.encoding == UsbCamera::Encoding::Mjpeg);
        if (!CHECK_EQ(format->getResolutionCount(), UsbCamera::kSizeCount))
            continue;
        for (int s = 0; s < UsbCamera::kSizeCount; ++s) {
            IResolution* size = format->getResolution(s);
            CHECK_EQ(size->getWidth(), UsbCamera::kSizes[s].width);
            CHECK_EQ(size->getHeight(), UsbCamera::kSizes[s].height);
            if (!format->isCompressed())
                CHECK_EQ(size->getBytesPerLine(), 2 * UsbCamera::kSizes[s].width);
            if (!CHECK_EQ(size->getFrameIntervalCount(), UsbCamera::kIntervalCount))
                continue;
            for (int i = 0; i < UsbCamera::kIntervalCount; ++i) {
                // 333333 x 100 ns is 1/30 s once uvcvideo simplified it.
                IFrameInterval* interval = size->getFrameInterval(i);
                CHECK_EQ(interval->getNumerator(), 1);
                CHECK_EQ(interval->getDenominator(), std::lround(1e7 / UsbCamera::kIntervals[i]));
            }
        }
    }
    // What libv4l2 makes of them for the window: RGB3 among the rest.
    bool rgb3 = false;
    for (int f = UsbCamera::kFormatCount; f < camera->getFormatCount(); ++f)
        rgb3 |= std::string(camera->getFormat(f)->getFourCC()) == "RGB3" && camera->getFormat(f)->isEmulated();
    CHECK(rgb3);
}

} // namespace Guest
