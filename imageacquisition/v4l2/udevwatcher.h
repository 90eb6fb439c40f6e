#pragma once

#include "backend.h"
#include "sysfsreader.h"
#include "uniquefd.h"

#include <map>
#include <memory>
#include <string>
#include <thread>

struct udev;
struct udev_device;
struct udev_monitor;

namespace ImageAcquisition {

// Reports video capture nodes coming and going, from a libudev monitor on
// the video4linux subsystem read by a thread of its own. An eventfd wakes
// that thread for a prompt stop.
//
// Where udevd runs, its events are used (they come after the rules gave the
// node its permissions); without udevd, as in a bare container or a minimal
// system, the kernel's own events are the only ones there are.
class UdevWatcher : public HotplugWatcher
{
public:
    explicit UdevWatcher(SysfsReader sysfs);
    ~UdevWatcher() override;

    void start(Report report) override;
    void stop() override;

private:
    struct UdevDeleter
    {
        void operator()(udev* context) const;
        void operator()(udev_monitor* monitor) const;
        void operator()(udev_device* device) const;
    };

    void run(Report report);
    void rememberPresentNodes();
    void handle(udev_device* device, const Report& report);
    bool isCaptureNode(udev_device* device, const std::string& node) const;

    SysfsReader m_sysfs;
    std::unique_ptr<udev, UdevDeleter> m_udev;
    std::unique_ptr<udev_monitor, UdevDeleter> m_monitor;
    UniqueFd m_wake;
    std::thread m_thread;
    // Device node -> whether it is a capture node, as found when it came, so
    // that a removal can be judged when the node is already gone. Only the
    // watcher thread touches it.
    std::map<std::string, bool> m_nodes;
};

} // namespace ImageAcquisition
