#pragma once

// A scriptable stand-in for the camera layer. Tests describe devices,
// formats, frames and controls, drive events, and read back every call the
// application made (Fake::calls()).

#include <imageacquisition/imageacquisition.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Fake {

using namespace ImageAcquisition;

void log(const std::string& call);
std::vector<std::string> calls();
void clearCalls();
// Number of logged calls that start with prefix.
int count(const std::string& prefix);
inline bool called(const std::string& prefix) { return count(prefix) > 0; }

// An element of a list of values or owning pointers, null for an index outside it.
template <typename T>
T* ptr(T& item) { return &item; }
template <typename T>
T* ptr(std::unique_ptr<T>& item) { return item.get(); }
template <typename List>
auto at(List& items, int index) -> decltype(ptr(items[0]))
{
    return index < 0 || index >= int(items.size()) ? nullptr : ptr(items[size_t(index)]);
}

// Formats are plain values: the camera opened from a device copies them.
struct Interval : IFrameInterval
{
    Interval(int numerator = 1, int denominator = 30) : numerator(numerator), denominator(denominator) {}
    int getNumerator() const override { return numerator; }
    int getDenominator() const override { return denominator; }
    int numerator, denominator;
};

struct Resolution : IResolution
{
    Resolution(unsigned width = 640, unsigned height = 480, std::vector<Interval> intervals = {Interval()})
        : width(width), height(height), bytesPerLine(int(width * 3)), intervals(std::move(intervals))
    {
    }
    unsigned int getWidth() const override { return width; }
    unsigned int getHeight() const override { return height; }
    int getBytesPerLine() const override { return bytesPerLine; }
    int getFrameIntervalCount() const override { return int(intervals.size()); }
    IFrameInterval* getFrameInterval(int index) override { return at(intervals, index); }
    unsigned width, height;
    int bytesPerLine;
    std::vector<Interval> intervals;
};

struct PixelFormat : IPixelFormat
{
    PixelFormat(const std::string& fourcc = "RGB3", std::vector<Resolution> resolutions = {Resolution()})
        : fourcc(fourcc), description(fourcc), resolutions(std::move(resolutions))
    {
    }
    bool isCompressed() const override { return compressed; }
    bool isEmulated() const override { return emulated; }
    const char* getFourCC() const override { return fourcc.c_str(); }
    const char* getDescription() const override { return description.c_str(); }
    int getResolutionCount() const override { return int(resolutions.size()); }
    IResolution* getResolution(int index) override { return at(resolutions, index); }
    std::string fourcc, description;
    bool compressed = false, emulated = false;
    std::vector<Resolution> resolutions;
};

// Empty when it holds no bytes, unless a test says otherwise (a driver's
// frame that carries a picture of zero bytes).
struct Frame : IFrame
{
    explicit Frame(std::vector<unsigned char> data = {}, unsigned long long number = 1, TimeStamp stamp = {0, 0})
        : data(std::move(data)), number(number), stamp(stamp), empty(this->data.empty())
    {
    }
    int getSize() const override { return int(data.size()); }
    const unsigned char* getData() const override { return data.data(); }
    unsigned long long getFrameNumber() const override { return number; }
    TimeStamp getTimeStamp() const override { return stamp; }
    bool isEmpty() const override { return empty; }
    std::vector<unsigned char> data;
    unsigned long long number;
    TimeStamp stamp;
    bool empty;
};

// The base operations of every fake control kind. Calls are logged as
// "<name>.<operation>".
class Control : public virtual ICameraControl
{
public:
    Control(std::string name, int type, Family family = FamilyUser)
        : name(std::move(name)), description(this->name + " description"), type(type), family(family)
    {
    }
    int getType() const override { return type; }
    Family getFamily() const override { return family; }
    const char* getName() const override { return nullName ? nullptr : name.c_str(); }
    const char* getDescription() const override { return description.c_str(); }
    bool isDisabled() const override { return flag("isDisabled", disabled); }
    bool isGrabbed() const override { return flag("isGrabbed", grabbed); }
    bool isReadOnly() const override { return flag("isReadOnly", readOnly); }
    bool isInactive() const override { return flag("isInactive", inactive); }
    void refresh() override;

    std::string name, description;
    int type;
    Family family;
    bool disabled = false, grabbed = false, readOnly = false, inactive = false, nullName = false;
    // Writes throw AssertFailureException while set.
    bool refuseWrites = false, throwOnRefresh = false;
    int refreshCount = 0;
    // Logs the four state flag queries too, to check the order they are asked in.
    bool logFlagQueries = false;

protected:
    void logCall(const std::string& operation) const { log(name + "." + operation); }
    bool flag(const char* query, bool value) const
    {
        if (logFlagQueries)
            logCall(query);
        return value;
    }
    void checkWrite(const std::string& operation);
};

template <typename T>
class Numeric : public ICameraControlNumeric<T>, public Control
{
public:
    Numeric(std::string name, T minimum, T maximum, T step, T value, Family family = ICameraControl::FamilyUser)
        : Control(std::move(name), sizeof(T) == sizeof(int) ? TypeInteger : TypeInteger64, family),
          minimum(minimum), maximum(maximum), step(step), value(value)
    {
    }
    T getMaximum() const override { return maximum; }
    T getMinimum() const override { return minimum; }
    T getStep() const override { return step; }
    T getValue() const override
    {
        logCall("getValue");
        return value;
    }
    void setValue(T v) override { checkWrite("setValue(" + std::to_string(v) + ")"); value = v; }
    T minimum, maximum, step, value;
};

class Boolean : public ICameraControlBoolean, public Control
{
public:
    Boolean(std::string name, bool value, Family family = FamilyUser)
        : Control(std::move(name), TypeBoolean, family), value(value)
    {
    }
    bool getValue() const override { return value; }
    void setValue(bool v) override { checkWrite(std::string("setValue(") + (v ? "true" : "false") + ")"); value = v; }
    bool value;
};

class Button : public ICameraControlButton, public Control
{
public:
    explicit Button(std::string name, Family family = FamilyUser) : Control(std::move(name), TypeButton, family) {}
    void press() override { checkWrite("press"); }
};

class String : public ICameraControlString, public Control
{
public:
    String(std::string name, std::string value, int minLength, int maxLength, Family family = FamilyUser)
        : Control(std::move(name), TypeString, family), value(std::move(value)), minLength(minLength),
          maxLength(maxLength)
    {
    }
    int getLength() const override { return int(value.size()); }
    void getValue(char* buffer, int size) const override;
    void setValue(const char* v) override { checkWrite(std::string("setValue(") + v + ")"); value = v; }
    int getMinLength() const override { return minLength; }
    int getMaxLength() const override { return maxLength; }
    std::string value;
    int minLength, maxLength;
};

// Both kinds of menu: entries of type E, the index written through setIndex.
template <typename Base, typename E, int kType>
class Menu : public Base, public Control
{
public:
    Menu(std::string name, std::vector<E> entries, int index, Family family = FamilyUser)
        : Control(std::move(name), kType, family), entries(std::move(entries)), index(index)
    {
    }
    int getEntryCount() const override { return int(entries.size()); }
    int getIndex() const override { return index; }
    void setIndex(int i) override { checkWrite("setIndex(" + std::to_string(i) + ")"); index = i; }
    std::vector<E> entries;
    int index;
};

class StringMenu : public Menu<ICameraControlStringMenu, std::string, ICameraControl::TypeMenu>
{
public:
    using Menu::Menu;
    const char* getEntry(int i) const override { return entries.at(size_t(i)).c_str(); }
};

class Int64Menu : public Menu<ICameraControlInt64Menu, long long, ICameraControl::TypeIntegerMenu>
{
public:
    using Menu::Menu;
    long long getEntry(int i) const override { return entries.at(size_t(i)); }
};

struct DeviceSpec
{
    std::string name = "Fake Camera";
    std::string systemName = "/dev/video0";
    std::string driver = "fakedrv";
    std::string busInfo = "usb-0000:00:14.0-1";
    std::string driverVersion = "6.1.0";
    std::string vendorId = "2f7a";
    std::string productId = "0001";
    std::string manufacturer = "Kelvane";
    std::string serial = "SN0001";
    std::string firmwareVersion = "1.02";
    bool multiplane = false;
    bool videoCapture = true;
    bool kelvane = false;
    // Every text operation returns a null pointer.
    bool nullTexts = false;

    // What the camera opened from this device offers.
    bool failOpen = false;
    std::vector<PixelFormat> formats{PixelFormat()};
    int currentFormat = 0;
    // Builds the controls of each camera opened from this device.
    std::function<std::vector<std::unique_ptr<ICameraControl>>()> controls;
};

class Device : public IDevice
{
public:
    explicit Device(DeviceSpec spec) : spec(std::move(spec)) {}
    const char* getName() const override { return text(spec.name); }
    const char* getSystemName() const override { return text(spec.systemName); }
    const char* getDriver() const override { return text(spec.driver); }
    const char* getBusInfo() const override { return text(spec.busInfo); }
    const char* getDriverVersion() const override { return text(spec.driverVersion); }
    const char* getVendorId() const override { return text(spec.vendorId); }
    const char* getProductId() const override { return text(spec.productId); }
    const char* getManufacturer() const override { return text(spec.manufacturer); }
    const char* getSerial() const override { return text(spec.serial); }
    const char* getFirmwareVersion() const override { return text(spec.firmwareVersion); }
    bool supportsAsynchIO() const override { return false; }
    bool supportsMultiplane() const override { return spec.multiplane; }
    bool supportsReadWrite() const override { return false; }
    bool supportsStreaming() const override { return true; }
    bool supportsVideoCapture() const override { return spec.videoCapture; }
    bool isKelvaneDevice() const override { return spec.kelvane; }

    DeviceSpec spec;

private:
    const char* text(const std::string& s) const { return spec.nullTexts ? nullptr : s.c_str(); }
};

class Camera : public IStreamingCamera
{
public:
    explicit Camera(const DeviceSpec& spec);
    ~Camera() override;

    int getControlCount() const override { return int(controls.size()); }
    const IDevice* getDevice() const override { return &device; }
    ICameraControl* getControl(int index) override { return at(controls, index); }
    int getFormatCount() const override { return int(formats.size()); }
    IPixelFormat* getFormat(int index) override { return at(formats, index); }
    int getCurrentFormatIndex() const override { return currentFormat; }
    int getCurrentResolutionIndex() const override { return currentResolution; }
    int getCurrentFrameIntervalIndex() const override { return currentInterval; }
    void reset() override { log("reset"); }
    bool setFormat(int formatIndex, int resolutionIndex, int intervalIndex) override;

    int allocateBuffers(int n) override { return logged("allocateBuffers(" + std::to_string(n) + ")", allocateResult); }
    int startStreaming() override { streaming |= !startResult; return logged("startStreaming", startResult); }
    IFrame* getFrame() override;
    void releaseFrame(IFrame* frame) override;
    int stopStreaming() override { streaming &= stopResult != 0; return logged("stopStreaming", stopResult); }
    int releaseBuffers() override { return logged("releaseBuffers", releaseResult); }

    Device device;
    std::vector<PixelFormat> formats;
    std::vector<std::unique_ptr<ICameraControl>> controls;
    int currentFormat, currentResolution = 0, currentInterval = 0;
    bool refuseSetFormat = false;
    // What the four streaming steps return.
    int allocateResult = 0, startResult = 0, stopResult = 0, releaseResult = 0;
    bool streaming = false;
    // Handed out by getFrame in turn; an empty frame once none is left.
    std::deque<Frame> queued;
    std::vector<std::unique_ptr<Frame>> handedOut;
    // Frames given back that this camera never handed out.
    int foreignReleases = 0;

private:
    static int logged(const std::string& call, int result) { log(call); return result; }
};

class Layer
{
public:
    static Layer& instance();

    // Back to no devices, no cameras alive, an empty log and zeroed counters.
    void reset();

    std::vector<DeviceSpec> devices;
    // The cameras the application holds open right now, oldest first.
    std::vector<Camera*> liveCameras;
    Camera* camera() const { return liveCameras.empty() ? nullptr : liveCameras.back(); }

    // Reports an event as the monitor's thread would, on the calling thread.
    // Returns false when no monitor is started.
    bool emitEvent(int type);

    int monitorsCreated = 0, monitorsStarted = 0, monitorsDeleted = 0;
    std::atomic<int> eventsDeleted{0};
    std::atomic<IContinuousCameraMonitor::IClient*> client{nullptr};
};

} // namespace Fake
