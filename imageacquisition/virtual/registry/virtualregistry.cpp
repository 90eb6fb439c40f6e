#include "virtualregistry.h"

#include <imageacquisition/icameraevent.h>

#include <algorithm>
#include <cstdlib>

namespace ImageAcquisition {

namespace {

int countFromEnvironment()
{
    const char* text = std::getenv(VirtualRegistry::kCountVariable);
    if (!text || !*text)
        return 0;
    char* end = nullptr;
    const long count = std::strtol(text, &end, 10);
    if (*end != '\0' || count < 0)
        return 0;
    return static_cast<int>(std::min<long>(count, VirtualRegistry::kMaxFromEnvironment));
}

} // namespace

VirtualRegistry::VirtualRegistry() : m_work(std::make_unique<WorkQueue>()) {}

VirtualRegistry& VirtualRegistry::instance()
{
    static VirtualRegistry registry;
    return registry;
}

VirtualRegistry::~VirtualRegistry()
{
    // Requests from serial lines first: they use the units. The queue is
    // taken out under its lock and stopped outside it, since a job that
    // unplugs a camera waits for that camera's console thread, which may be
    // waiting for the lock.
    std::unique_ptr<WorkQueue> work;
    {
        std::lock_guard<std::mutex> lock(m_workMutex);
        work = std::move(m_work);
    }
    work.reset();
    // At exit: unplug what is left, so links are removed even where a camera
    // object was never deleted.
    for (auto& unit : m_units)
        unit->unplug();
}

void VirtualRegistry::followEnvironment()
{
    const int wanted = countFromEnvironment();
    const int change = wanted - m_environmentCount;
    m_environmentCount = wanted;
    for (int i = 0; i < change; ++i)
        m_units.push_back(createUnit());
    for (int i = 0; i < -change && !m_units.empty(); ++i)
        remove(m_units.size() - 1);
}

std::shared_ptr<VirtualUnit> VirtualRegistry::createUnit(int number)
{
    return std::make_shared<VirtualUnit>(number > 0 ? number : m_nextNumber++,
                                         [this](int number, const std::string& what) { request(number, what); });
}

void VirtualRegistry::request(int number, const std::string& what)
{
    // Not m_mutex: the caller is a serial console's thread, which whoever
    // holds m_mutex may be waiting for while it unplugs that camera.
    std::lock_guard<std::mutex> lock(m_workMutex);
    if (!m_work)
        return;
    if (what == "unplug" || what == "reboot")
        m_work->post([this, number] { unplugNumber(number); });
    // A rebooting camera comes back a moment later as a new device with
    // the same serial number (and the firmware's default settings).
    if (what == "reboot")
        m_work->post([this, number] { plugNumber(number); }, std::chrono::milliseconds(1500));
    if (what == "plug")
        m_work->post([this] { plug(); });
}

bool VirtualRegistry::unplugNumber(int number)
{
    std::shared_ptr<VirtualUnit> gone;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto unit = std::find_if(m_units.begin(), m_units.end(),
                                 [number](const std::shared_ptr<VirtualUnit>& u) { return u->number() == number; });
        if (unit == m_units.end())
            return false;
        gone = remove(static_cast<size_t>(unit - m_units.begin()));
        notify(ICameraEvent::CameraRemoved);
    }
    return true;
}

std::shared_ptr<VirtualUnit> VirtualRegistry::remove(size_t index)
{
    std::shared_ptr<VirtualUnit> unit = m_units[index];
    m_units.erase(m_units.begin() + static_cast<long>(index));
    unit->unplug();
    return unit;
}

std::vector<std::shared_ptr<VirtualUnit>> VirtualRegistry::units()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    followEnvironment();
    // One serial device path for all: the first camera that can take it.
    for (auto& unit : m_units) {
        if (unit->linkSerialLine())
            break;
    }
    return m_units;
}

int VirtualRegistry::count()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    followEnvironment();
    return static_cast<int>(m_units.size());
}

int VirtualRegistry::plug()
{
    return plugNumber(0);
}

int VirtualRegistry::plugNumber(int number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    followEnvironment();
    m_units.push_back(createUnit(number));
    notify(ICameraEvent::CameraAdded);
    return static_cast<int>(m_units.size()) - 1;
}

bool VirtualRegistry::unplug(int index)
{
    std::shared_ptr<VirtualUnit> gone;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        followEnvironment();
        if (index < 0 || index >= static_cast<int>(m_units.size()))
            return false;
        gone = remove(static_cast<size_t>(index));
        notify(ICameraEvent::CameraRemoved);
    }
    // A unit nobody holds any more is destroyed here, outside the lock.
    return true;
}

std::shared_ptr<VirtualUnit> VirtualRegistry::unit(int index)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    followEnvironment();
    if (index < 0 || index >= static_cast<int>(m_units.size()))
        return nullptr;
    return m_units[static_cast<size_t>(index)];
}

void VirtualRegistry::addListener(HotplugListener* listener)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listeners.push_back(listener);
}

void VirtualRegistry::removeListener(HotplugListener* listener)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener), m_listeners.end());
}

void VirtualRegistry::notify(int type)
{
    for (HotplugListener* listener : m_listeners)
        listener->onHotplug(type);
}

} // namespace ImageAcquisition
