#include "fakelayer.h"

#include <assertfailureexception.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace Fake {

namespace {

std::mutex logMutex;
std::vector<std::string> logStore;

} // namespace

void log(const std::string& call)
{
    std::lock_guard<std::mutex> lock(logMutex);
    logStore.push_back(call);
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(logMutex);
    return logStore;
}

void clearCalls()
{
    std::lock_guard<std::mutex> lock(logMutex);
    logStore.clear();
}

int count(const std::string& prefix)
{
    const auto all = calls();
    return int(std::count_if(all.begin(), all.end(),
                             [&](const std::string& c) { return c.compare(0, prefix.size(), prefix) == 0; }));
}

void Control::refresh()
{
    logCall("refresh");
    ++refreshCount;
    if (throwOnRefresh)
        throw AssertFailureException("false", __FILE__, __LINE__, name + ": refresh refused");
}

void Control::checkWrite(const std::string& operation)
{
    logCall(operation);
    if (refuseWrites)
        throw AssertFailureException("writable", __FILE__, __LINE__, -13, name + ": write refused");
}

void String::getValue(char* buffer, int size) const
{
    if (size < 1)
        return;
    const size_t n = std::min(value.size(), size_t(size - 1));
    std::memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
}

Camera::Camera(const DeviceSpec& spec) : device(spec), formats(spec.formats), currentFormat(spec.currentFormat)
{
    if (spec.controls)
        controls = spec.controls();
    Layer::instance().liveCameras.push_back(this);
}

Camera::~Camera()
{
    log("~Camera(" + device.spec.name + ")");
    auto& live = Layer::instance().liveCameras;
    live.erase(std::remove(live.begin(), live.end(), this), live.end());
}

bool Camera::setFormat(int formatIndex, int resolutionIndex, int intervalIndex)
{
    log("setFormat(" + std::to_string(formatIndex) + "," + std::to_string(resolutionIndex) + ","
        + std::to_string(intervalIndex) + ")");
    if (refuseSetFormat || streaming || !getFormat(formatIndex))
        return false;
    currentFormat = formatIndex;
    currentResolution = resolutionIndex;
    currentInterval = intervalIndex;
    return true;
}

IFrame* Camera::getFrame()
{
    log("getFrame");
    handedOut.push_back(std::make_unique<Frame>());
    if (!queued.empty()) {
        *handedOut.back() = std::move(queued.front());
        queued.pop_front();
    }
    return handedOut.back().get();
}

void Camera::releaseFrame(IFrame* frame)
{
    log("releaseFrame");
    const auto it = std::find_if(handedOut.begin(), handedOut.end(), [&](const auto& f) { return f.get() == frame; });
    if (it == handedOut.end())
        ++foreignReleases;
    else
        handedOut.erase(it);
}

namespace {

class Event : public ICameraEvent
{
public:
    explicit Event(int type) : type(type) {}
    ~Event() override { ++Layer::instance().eventsDeleted; }
    int getType() const override { return type; }
    int type;
};

class DeviceList : public IDeviceList
{
public:
    explicit DeviceList(const std::vector<DeviceSpec>& specs) : m_devices(specs.begin(), specs.end()) {}
    int getDeviceCount() const override { return int(m_devices.size()); }
    const IDevice* getDevice(int index) const override { return at(m_devices, index); }

private:
    std::vector<Device> m_devices;
};

class Monitor : public IContinuousCameraMonitor
{
public:
    Monitor() { ++Layer::instance().monitorsCreated; }
    ~Monitor() override
    {
        log("~Monitor");
        ++Layer::instance().monitorsDeleted;
        detach();
    }
    void start(IClient* client) override
    {
        ++Layer::instance().monitorsStarted;
        m_client = client;
        Layer::instance().client = client;
    }
    void stop() override
    {
        log("monitor.stop");
        detach();
    }

private:
    void detach()
    {
        IClient* mine = m_client;
        Layer::instance().client.compare_exchange_strong(mine, nullptr);
    }
    IClient* m_client = nullptr;
};

class Factory : public ICameraFactory
{
public:
    IDeviceList* getDeviceList() override
    {
        log("getDeviceList");
        return new DeviceList(Layer::instance().devices);
    }
    IStreamingCamera* createCamera(const IDevice* device) override
    {
        auto const* fake = dynamic_cast<const Device*>(device);
        log("createCamera(" + (fake ? fake->spec.name : std::string("?")) + ")");
        return !fake || fake->spec.failOpen ? nullptr : new Camera(fake->spec);
    }
    IContinuousCameraMonitor* createContinuousCameraMonitor() override { return new Monitor; }
};

} // namespace

Layer& Layer::instance()
{
    static Layer layer;
    return layer;
}

void Layer::reset()
{
    devices.clear();
    monitorsCreated = monitorsStarted = monitorsDeleted = 0;
    eventsDeleted = 0;
    clearCalls();
}

bool Layer::emitEvent(int type)
{
    IContinuousCameraMonitor::IClient* target = client;
    if (target)
        target->onCameraEvent(new Event(type));
    return target;
}

} // namespace Fake

ImageAcquisition::ICameraFactory* ImageAcquisition::ICameraFactory::getUniqueInstance()
{
    static Fake::Factory factory;
    return &factory;
}
