// kelvane-usb-camera: a camera of the maker emulated at the USB level, on
// a port of the kernel's vhci_hcd, for tests of the real uvcvideo and
// cdc_acm drivers. Runs as root (the attach file needs it).
//
// Usage: kelvane-usb-camera [--log FILE] [--frames DIR] [--pid-file FILE]
//                           [--port N] [--serial TEXT]
//   --log       what the device did, one line per event (default: stderr)
//   --frames    keep the frames sent as DIR/NNNNNN.mjpg or .yuyv (the last
//               64 MB of them)
//   --pid-file  where to write the process id, once the device is plugged in
// SIGUSR1 unplugs the camera, SIGUSR2 plugs it in again, SIGTERM ends it.

#include "deviceprogram.h"

#include <imageacquisition/kelvane.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

// A few seconds of the largest stream (YUYV 640x480 at 30 fps).
constexpr std::size_t kFrameBudget = 64u << 20;

int usage()
{
    std::fprintf(stderr, "usage: kelvane-usb-camera [--log FILE] [--frames DIR] [--pid-file FILE] [--port N] "
                         "[--serial TEXT]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    std::string logPath, framesFolder, pidFile, serial = "KVE-000042";
    int port = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (i + 1 >= argc)
            return usage();
        const std::string value = argv[++i];
        if (option == "--log")
            logPath = value;
        else if (option == "--frames")
            framesFolder = value;
        else if (option == "--pid-file")
            pidFile = value;
        else if (option == "--port")
            port = std::atoi(value.c_str());
        else if (option == "--serial")
            serial = value;
        else
            return usage();
    }

    UsbCamera::EventLog log(logPath);
    if (!log.isOpen()) {
        std::fprintf(stderr, "kelvane-usb-camera: cannot write %s: %s\n", logPath.c_str(), std::strerror(errno));
        return 1;
    }
    UsbCamera::DeviceIdentity identity;
    identity.vendorId = ImageAcquisition::kKelvaneUsbVendorId;
    identity.productId = 0x0640;
    identity.bcdDevice = 0x0213;
    identity.manufacturer = "Kelvane";
    identity.product = "KVC-640 Camera";
    identity.serial = serial;
    if (!pidFile.empty()) {
        if (std::FILE* file = std::fopen(pidFile.c_str(), "w")) {
            std::fprintf(file, "%d\n", static_cast<int>(::getpid()));
            std::fclose(file);
        }
    }
    UsbCamera::FrameArchive archive(framesFolder, kFrameBudget);
    UsbCamera::DeviceProgram program(identity, UsbCamera::VhciPort(port), log, archive);
    return program.run();
}
