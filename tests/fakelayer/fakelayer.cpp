#include "fakelayer.h"

#include <assertfailureexception.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace Fake {

namespace {

std::mutex& logMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<std::string>& logStore()
{
    static std::vector<std::string> store;
    return store;
}

} // namespace

void log(const std::string& call)
{
    std::lock_guard<std::mutex> lock(logMutex());
    logStore().push_back(call);
}

std::vector<std::string> calls()
{
    std::lock_guard<std::mutex> lock(logMutex());
    return logStore();
}

void clearCalls()
{
    std::lock_guard<std::mutex> lock(logMutex());
    logStore().clear();
}

int count(const std::string& prefix)
{
    const auto all = calls();
    return int(std::count_if(all.begin(), all.end(),
                             [&](const std::string& c) { return c.compare(0, prefix.size(), prefix) == 0; }));
}

bool called(const std::string& prefix)
{
    return count(prefix) > 0;
}

// --- formats ----------------------------------------------------------------

Resolution::Resolution(const ResolutionSpec& spec) : m_spec(spec)
{
    for (const auto& interval : spec.intervals)
        m_intervals.push_back(std::make_unique<Interval>(interval));
}

IFrameInterval* Resolution::getFrameInterval(int index)
{
    if (index < 0 || index >= getFrameIntervalCount())
        return nullptr;
    return m_intervals[size_t(index)].get();
}

PixelFormat::PixelFormat(const FormatSpec& spec) : m_spec(spec)
{
    for (const auto& resolution : spec.resolutions)
        m_resolutions.push_back(std::make_unique<Resolution>(resolution));
}

IResolution* PixelFormat::getResolution(int index)
{
    log("getResolution(" + std::to_string(index) + ")");
    if (index < 0 || index >= getResolutionCount())
        return nullptr;
    return m_resolutions[size_t(index)].get();
}

// --- controls ---------------------------------------------------------------

Control::Control(std::string name, int type, Family family)
    : name(std::move(name)), description(this->name + " description"), type(type), family(family)
{
}

int Control::getType() const
{
    return type;
}

ICameraControl::Family Control::getFamily() const
{
    return family;
}

const char* Control::getName() const
{
    return nullName ? nullptr : name.c_str();
}

const char* Control::getDescription() const
{
    return description.c_str();
}

bool Control::isDisabled() const
{
    if (logFlagQueries)
        logCall("isDisabled");
    return disabled;
}

bool Control::isGrabbed() const
{
    if (logFlagQueries)
        logCall("isGrabbed");
    return grabbed;
}

bool Control::isReadOnly() const
{
    if (logFlagQueries)
        logCall("isReadOnly");
    return readOnly;
}

bool Control::isInactive() const
{
    if (logFlagQueries)
        logCall("isInactive");
    return inactive;
}

void Control::refresh()
{
    logCall("refresh");
    ++refreshCount;
    if (onRefresh)
        onRefresh();
    if (throwOnRefresh)
        throw AssertFailureException("false", __FILE__, __LINE__, name + ": refresh refused");
}

void Control::logCall(const std::string& operation) const
{
    log(name + "." + operation);
}

void Control::checkWrite(const std::string& operation)
{
    logCall(operation);
    if (refuseWrites)
        throw AssertFailureException("writable", __FILE__, __LINE__, -13, name + ": write refused");
}

Boolean::Boolean(std::string name, bool value, Family family)
    : Control(std::move(name), TypeBoolean, family), value(value)
{
}

void Boolean::setValue(bool v)
{
    checkWrite(std::string("setValue(") + (v ? "true" : "false") + ")");
    value = v;
}

Button::Button(std::string name, Family family) : Control(std::move(name), TypeButton, family)
{
}

void Button::press()
{
    checkWrite("press");
}

String::String(std::string name, std::string value, int minLength, int maxLength, Family family)
    : Control(std::move(name), TypeString, family), value(std::move(value)), minLength(minLength),
      maxLength(maxLength)
{
}

void String::getValue(char* buffer, int size) const
{
    if (size < 1)
        return;
    const size_t n = std::min(value.size(), size_t(size - 1));
    std::memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
}

void String::setValue(const char* v)
{
    checkWrite(std::string("setValue(") + v + ")");
    value = v;
}

StringMenu::StringMenu(std::string name, std::vector<std::string> entries, int index, Family family)
    : Control(std::move(name), TypeMenu, family), entries(std::move(entries)), index(index)
{
}

void StringMenu::setIndex(int i)
{
    checkWrite("setIndex(" + std::to_string(i) + ")");
    index = i;
}

const char* StringMenu::getEntry(int i) const
{
    return entries.at(size_t(i)).c_str();
}

Int64Menu::Int64Menu(std::string name, std::vector<long long> entries, int index, Family family)
    : Control(std::move(name), TypeIntegerMenu, family), entries(std::move(entries)), index(index)
{
}

void Int64Menu::setIndex(int i)
{
    checkWrite("setIndex(" + std::to_string(i) + ")");
    index = i;
}

long long Int64Menu::getEntry(int i) const
{
    return entries.at(size_t(i));
}

// --- cameras ----------------------------------------------------------------

Camera::Camera(const DeviceSpec& spec) : device(spec), currentFormat(spec.currentFormat)
{
    for (const auto& format : spec.formats)
        formats.push_back(std::make_unique<PixelFormat>(format));
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

ICameraControl* Camera::getControl(int index)
{
    if (index < 0 || index >= getControlCount())
        return nullptr;
    return controls[size_t(index)].get();
}

IPixelFormat* Camera::getFormat(int index)
{
    if (index < 0 || index >= getFormatCount())
        return nullptr;
    return formats[size_t(index)].get();
}

void Camera::reset()
{
    log("reset");
}

bool Camera::setFormat(int formatIndex, int resolutionIndex, int intervalIndex)
{
    log("setFormat(" + std::to_string(formatIndex) + "," + std::to_string(resolutionIndex) + ","
        + std::to_string(intervalIndex) + ")");
    if (refuseSetFormat || streaming)
        return false;
    IPixelFormat* format = getFormat(formatIndex);
    if (!format)
        return false;
    currentFormat = formatIndex;
    currentResolution = resolutionIndex;
    currentInterval = intervalIndex;
    return true;
}

int Camera::allocateBuffers(int count)
{
    log("allocateBuffers(" + std::to_string(count) + ")");
    return allocateResult;
}

int Camera::startStreaming()
{
    log("startStreaming");
    if (startResult == 0)
        streaming = true;
    return startResult;
}

IFrame* Camera::getFrame()
{
    log("getFrame");
    std::unique_ptr<Frame> frame;
    if (queued.empty()) {
        frame = std::make_unique<Frame>();
    } else {
        frame = std::move(queued.front());
        queued.pop_front();
    }
    handedOut.push_back(std::move(frame));
    return handedOut.back().get();
}

void Camera::releaseFrame(IFrame* frame)
{
    log("releaseFrame");
    auto it = std::find_if(handedOut.begin(), handedOut.end(),
                           [&](const std::unique_ptr<Frame>& f) { return f.get() == frame; });
    if (it == handedOut.end()) {
        ++foreignReleases;
        return;
    }
    handedOut.erase(it);
}

int Camera::stopStreaming()
{
    log("stopStreaming");
    if (stopResult == 0)
        streaming = false;
    return stopResult;
}

int Camera::releaseBuffers()
{
    log("releaseBuffers");
    return releaseResult;
}

void Camera::pushFrame(Frame frame)
{
    queued.push_back(std::make_unique<Frame>(std::move(frame)));
}

Event::Event(int type) : type(type)
{
    ++Layer::instance().eventsCreated;
}

Event::~Event()
{
    ++Layer::instance().eventsDeleted;
}

// --- factory, device list, monitor ------------------------------------------

namespace {

class DeviceList : public IDeviceList
{
public:
    explicit DeviceList(const std::vector<DeviceSpec>& specs)
    {
        for (const auto& spec : specs)
            m_devices.push_back(std::make_unique<Device>(spec));
    }
    ~DeviceList() override { log("~DeviceList"); }
    int getDeviceCount() const override { return int(m_devices.size()); }
    const IDevice* getDevice(int index) const override
    {
        if (index < 0 || index >= getDeviceCount())
            return nullptr;
        return m_devices[size_t(index)].get();
    }

private:
    std::vector<std::unique_ptr<Device>> m_devices;
};

class Monitor : public IContinuousCameraMonitor
{
public:
    Monitor() { ++Layer::instance().monitorsCreated; }
    ~Monitor() override
    {
        log("~Monitor");
        ++Layer::instance().monitorsDeleted;
        if (Layer::instance().client == m_client)
            Layer::instance().client = nullptr;
    }
    void start(IClient* client) override
    {
        log("monitor.start");
        ++Layer::instance().monitorsStarted;
        m_client = client;
        Layer::instance().client = client;
    }
    void stop() override
    {
        log("monitor.stop");
        ++Layer::instance().monitorsStopped;
        if (Layer::instance().client == m_client)
            Layer::instance().client = nullptr;
    }

private:
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
        if (!fake || fake->spec.failOpen)
            return nullptr;
        return new Camera(fake->spec);
    }
    IContinuousCameraMonitor* createContinuousCameraMonitor() override
    {
        log("createContinuousCameraMonitor");
        return new Monitor;
    }
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
    monitorsCreated = monitorsStarted = monitorsStopped = monitorsDeleted = 0;
    eventsCreated = 0;
    eventsDeleted = 0;
    clearCalls();
}

bool Layer::emitEvent(int type)
{
    IContinuousCameraMonitor::IClient* target = client;
    if (!target)
        return false;
    target->onCameraEvent(new Event(type));
    return true;
}

} // namespace Fake

ImageAcquisition::ICameraFactory* ImageAcquisition::ICameraFactory::getUniqueInstance()
{
    static Fake::Factory factory;
    return &factory;
}
