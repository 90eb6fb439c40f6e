#include "pycamera.h"

#include "cameragone.h"

#include <imageacquisition/imageacquisition.h>
#include <layertext.h>
#include <refused.h>
#include <storedprofile.h>

#include <QString>

#include <cstring>

namespace TarvelloPython {

using namespace ImageAcquisition;

PyCamera::PyCamera(const std::string& selector, bool storedProfile)
    : m_open(std::make_unique<Tarvello::OpenCamera>(QString::fromStdString(selector))),
      m_entry(m_open->entry()),
      m_storedProfile(storedProfile)
{
    applyStoredProfile();
}

IStreamingCamera& PyCamera::camera() const
{
    if (!m_open)
        throw CameraGone(goneMessage());
    return m_open->camera();
}

void PyCamera::closeAway()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open.reset();
    // What was taken from the camera that left is not used again.
    ++m_generation;
}

void PyCamera::reopen(const Tarvello::CameraEntry& returned)
{
    auto reopened = std::make_unique<Tarvello::OpenCamera>(returned.serial);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = std::move(reopened);
    m_entry = m_open->entry();
    ++m_generation;
    applyStoredProfile();
}

void PyCamera::applyStoredProfile()
{
    if (!m_storedProfile || entry().serial.isEmpty())
        return;
    const Tarvello::StoredProfile profile(entry(), Tarvello::StoredProfile::Scope::User);
    const std::optional<Tarvello::WriteOutcome> outcome = profile.apply(camera());
    if (outcome && !outcome->complete())
        throw Tarvello::Refused("The stored profile " + profile.path() + " was applied only in part; the camera "
                                "is left as listed.\n" + outcome->report(),
                                outcome->written);
}

PyCamera::~PyCamera() = default;

void PyCamera::setFormat(const std::optional<std::string>& fourcc, const std::optional<Tarvello::FormatChoice::Size>& size,
                         const std::optional<Tarvello::FormatChoice::Interval>& interval)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_streaming)
        throw Tarvello::Refused("The format cannot change while the camera streams.");
    Tarvello::FormatChoice::Request request;
    if (fourcc)
        request.fourcc = QString::fromStdString(*fourcc);
    request.size = size;
    request.interval = interval;
    const Tarvello::FormatChoice choice(camera(), request);
    if (!camera().setFormat(choice.formatIndex, choice.resolutionIndex, choice.intervalIndex)) {
        ensurePresent();
        throw Tarvello::Refused("The camera refused the format.");
    }
}

void PyCamera::claimStream()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_streaming)
        throw Tarvello::Refused("The camera already streams; close that stream first.");
    m_streaming = true;
}

void PyCamera::releaseStream()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_streaming = false;
}

bool PyCamera::isPresent() const
{
    // A device is the same one while its node and its port stay the same.
    if (!m_open)
        return false;
    const std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    for (int i = 0; list && i < list->getDeviceCount(); ++i) {
        const IDevice* device = list->getDevice(i);
        if (device && Tarvello::layerText(device->getSystemName()) == m_entry.node
            && Tarvello::layerText(device->getBusInfo()) == m_entry.busInfo)
            return true;
    }
    return false;
}

void PyCamera::ensurePresent() const
{
    if (!isPresent())
        throw CameraGone(goneMessage());
}

std::string PyCamera::goneMessage() const
{
    return (entry().summary() + " was unplugged.").toStdString();
}

} // namespace TarvelloPython
