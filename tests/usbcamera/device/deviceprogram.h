#pragma once

#include "deviceidentity.h"
#include "eventlog.h"
#include "framearchive.h"
#include "usbcameradevice.h"
#include "usbipconnection.h"
#include "vhciport.h"

#include <memory>

namespace UsbCamera {

// Runs the camera on a vhci port until told to stop: plugged in at start,
// unplugged by SIGUSR1, plugged in again (a fresh power-on) by SIGUSR2,
// unplugged and ended by SIGTERM or SIGINT. The host detaching the port
// unplugs it too.
class DeviceProgram
{
public:
    DeviceProgram(DeviceIdentity identity, VhciPort port, EventLog& log, FrameArchive& archive);

    // The exit status: 0 after a clean stop, 1 when the first plugging failed.
    int run();

private:
    bool plug(double now);
    void unplug(const char* why);
    void serve(double now);

    DeviceIdentity m_identity;
    VhciPort m_port;
    EventLog& m_log;
    FrameArchive& m_archive;
    std::uint64_t m_frameCounter = 0;
    std::unique_ptr<UsbIpConnection> m_link;
    std::unique_ptr<UsbCameraDevice> m_device;
};

} // namespace UsbCamera
