#include "udevwatcher.h"

#include "v4l2backend.h"
#include "v4l2device.h"

#include <imageacquisition/icameraevent.h>

#include <libudev.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace ImageAcquisition {

void UdevWatcher::UdevDeleter::operator()(udev* context) const
{
    udev_unref(context);
}

void UdevWatcher::UdevDeleter::operator()(udev_monitor* monitor) const
{
    udev_monitor_unref(monitor);
}

void UdevWatcher::UdevDeleter::operator()(udev_device* device) const
{
    udev_device_unref(device);
}

UdevWatcher::UdevWatcher(SysfsReader sysfs) : m_sysfs(std::move(sysfs)) {}

UdevWatcher::~UdevWatcher()
{
    stop();
}

void UdevWatcher::start(Report report)
{
    if (m_thread.joinable() || !report)
        return;
    m_udev.reset(udev_new());
    if (!m_udev)
        return;
    const char* source = ::access("/run/udev/control", F_OK) == 0 ? "udev" : "kernel";
    m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), source));
    if (!m_monitor
        || udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "video4linux", nullptr)
               < 0
        || udev_monitor_enable_receiving(m_monitor.get()) < 0) {
        m_monitor.reset();
        m_udev.reset();
        return;
    }
    m_wake.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_wake.isValid()) {
        m_monitor.reset();
        m_udev.reset();
        return;
    }
    m_thread = std::thread(&UdevWatcher::run, this, std::move(report));
}

void UdevWatcher::stop()
{
    if (m_thread.joinable()) {
        std::uint64_t one = 1;
        // A full counter (which cannot happen with one writer) would still
        // leave the thread readable, so the result does not matter.
        ssize_t written = ::write(m_wake.get(), &one, sizeof one);
        (void)written;
        m_thread.join();
    }
    m_monitor.reset();
    m_udev.reset();
    m_wake.reset();
    m_nodes.clear();
}

void UdevWatcher::run(Report report)
{
    rememberPresentNodes();
    pollfd fds[2] = {{udev_monitor_get_fd(m_monitor.get()), POLLIN, 0}, {m_wake.get(), POLLIN, 0}};
    for (;;) {
        int ready = ::poll(fds, 2, -1);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (fds[1].revents)
            return;
        if (fds[0].revents & (POLLERR | POLLHUP | POLLNVAL))
            return;
        if (fds[0].revents & POLLIN) {
            std::unique_ptr<udev_device, UdevDeleter> device(
                udev_monitor_receive_device(m_monitor.get()));
            if (device)
                handle(device.get(), report);
        }
    }
}

void UdevWatcher::rememberPresentNodes()
{
    for (const auto& path : V4l2Backend::videoNodes("/dev"))
        m_nodes[path] = V4l2Device::probe(path, m_sysfs) != nullptr;
}

void UdevWatcher::handle(udev_device* device, const Report& report)
{
    const char* action = udev_device_get_action(device);
    const char* subsystem = udev_device_get_subsystem(device);
    const char* devnode = udev_device_get_devnode(device);
    if (!action || !subsystem || std::strcmp(subsystem, "video4linux") != 0 || !devnode)
        return;
    const std::string node = devnode;
    if (std::strcmp(action, "add") == 0) {
        bool capture = isCaptureNode(device, node);
        m_nodes[node] = capture;
        if (capture)
            report(ICameraEvent::CameraAdded);
    } else if (std::strcmp(action, "remove") == 0) {
        auto known = m_nodes.find(node);
        // A node never seen before may have been a camera: report it.
        bool capture = known == m_nodes.end() || known->second;
        if (known != m_nodes.end())
            m_nodes.erase(known);
        if (capture)
            report(ICameraEvent::CameraRemoved);
    }
}

bool UdevWatcher::isCaptureNode(udev_device* device, const std::string& node) const
{
    // udevd's v4l_id has already asked the driver; the kernel's own events
    // carry no such property, so then the node is asked directly.
    if (const char* capabilities = udev_device_get_property_value(device, "ID_V4L_CAPABILITIES"))
        return std::strstr(capabilities, ":capture:") != nullptr;
    if (V4l2Device::probe(node, m_sysfs))
        return true;
    // A node that cannot be opened yet (its permissions not set, say) may
    // well be a camera; the application only rebuilds its list for it.
    return ::access(node.c_str(), R_OK | W_OK) != 0;
}

} // namespace ImageAcquisition
