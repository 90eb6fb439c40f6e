#pragma once

#include "hotpluglistener.h"
#include "virtualunit.h"
#include "workqueue.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ImageAcquisition {

// The virtual cameras plugged in now, in list order, for the whole process.
//
// Their number follows IMAGEACQUISITION_VIRTUAL_CAMERAS, read again whenever
// the registry is asked: a changed value plugs in or removes cameras at the
// end of the list, silently. plug() and unplug() act like a person at the
// USB port and are reported to the listeners; so do the commands "reboot",
// "unplug" and "plug" typed on a camera's serial line (carried out on a
// thread of the registry's own, since the line's thread goes with its camera).
class VirtualRegistry
{
public:
    static constexpr const char* kCountVariable = "IMAGEACQUISITION_VIRTUAL_CAMERAS";
    // More than this many is taken for a mistake in the variable.
    static constexpr int kMaxFromEnvironment = 16;

    static VirtualRegistry& instance();
    ~VirtualRegistry();

    // The cameras present, for a device list. The first of them that can get
    // the serial device link gets it.
    std::vector<std::shared_ptr<VirtualUnit>> units();
    int count();
    int plug();
    bool unplug(int index);
    std::shared_ptr<VirtualUnit> unit(int index);

    void addListener(HotplugListener* listener);
    void removeListener(HotplugListener* listener);

private:
    VirtualRegistry();
    void followEnvironment();
    void notify(int type);
    std::shared_ptr<VirtualUnit> remove(size_t index);
    // number 0: the next new one; else that of a camera coming back.
    std::shared_ptr<VirtualUnit> createUnit(int number = 0);
    int plugNumber(int number);
    void request(int number, const std::string& what);
    bool unplugNumber(int number);

    std::mutex m_mutex;
    std::vector<std::shared_ptr<VirtualUnit>> m_units;
    std::vector<HotplugListener*> m_listeners;
    int m_environmentCount = 0;
    int m_nextNumber = 1;
    std::mutex m_workMutex;
    std::unique_ptr<WorkQueue> m_work;
};

} // namespace ImageAcquisition
