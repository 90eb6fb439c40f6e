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

// --- call log ---------------------------------------------------------------

void log(const std::string& call);
std::vector<std::string> calls();
void clearCalls();
// Number of logged calls that start with prefix.
int count(const std::string& prefix);
bool called(const std::string& prefix);

// --- formats ----------------------------------------------------------------

struct IntervalSpec
{
    int numerator = 1;
    int denominator = 30;
};

struct ResolutionSpec
{
    unsigned width = 640;
    unsigned height = 480;
    int bytesPerLine = 640 * 3;
    std::vector<IntervalSpec> intervals{{1, 30}};
};

struct FormatSpec
{
    std::string fourcc = "RGB3";
    std::string description = "RGB3";
    bool compressed = false;
    bool emulated = false;
    std::vector<ResolutionSpec> resolutions{ResolutionSpec{}};
};

class Interval : public IFrameInterval
{
public:
    explicit Interval(IntervalSpec spec) : m_spec(spec) {}
    int getNumerator() const override { return m_spec.numerator; }
    int getDenominator() const override { return m_spec.denominator; }

private:
    IntervalSpec m_spec;
};

class Resolution : public IResolution
{
public:
    explicit Resolution(const ResolutionSpec& spec);
    unsigned int getWidth() const override { return m_spec.width; }
    unsigned int getHeight() const override { return m_spec.height; }
    int getBytesPerLine() const override { return m_spec.bytesPerLine; }
    int getFrameIntervalCount() const override { return int(m_intervals.size()); }
    IFrameInterval* getFrameInterval(int index) override;

private:
    ResolutionSpec m_spec;
    std::vector<std::unique_ptr<Interval>> m_intervals;
};

class PixelFormat : public IPixelFormat
{
public:
    explicit PixelFormat(const FormatSpec& spec);
    bool isCompressed() const override { return m_spec.compressed; }
    bool isEmulated() const override { return m_spec.emulated; }
    const char* getFourCC() const override { return m_spec.fourcc.c_str(); }
    const char* getDescription() const override { return m_spec.description.c_str(); }
    int getResolutionCount() const override { return int(m_resolutions.size()); }
    IResolution* getResolution(int index) override;

private:
    FormatSpec m_spec;
    std::vector<std::unique_ptr<Resolution>> m_resolutions;
};

// --- frames -----------------------------------------------------------------

class Frame : public IFrame
{
public:
    Frame() = default;
    Frame(std::vector<unsigned char> data, unsigned long long number, TimeStamp stamp)
        : data(std::move(data)), number(number), stamp(stamp), empty(false)
    {
    }
    int getSize() const override { return int(data.size()); }
    const unsigned char* getData() const override { return data.data(); }
    unsigned long long getFrameNumber() const override { return number; }
    TimeStamp getTimeStamp() const override { return stamp; }
    bool isEmpty() const override { return empty; }

    std::vector<unsigned char> data;
    unsigned long long number = 0;
    TimeStamp stamp{0, 0};
    bool empty = true;
};

// --- controls ---------------------------------------------------------------

// Implements the base operations for every fake control kind. Each call is
// logged as "<name>.<operation>".
class Control : public virtual ICameraControl
{
public:
    Control(std::string name, int type, Family family = FamilyUser);

    int getType() const override;
    Family getFamily() const override;
    const char* getName() const override;
    const char* getDescription() const override;
    bool isDisabled() const override;
    bool isGrabbed() const override;
    bool isReadOnly() const override;
    bool isInactive() const override;
    void refresh() override;

    std::string name;
    std::string description;
    int type;
    Family family;
    bool disabled = false;
    bool grabbed = false;
    bool readOnly = false;
    bool inactive = false;
    bool nullName = false;
    // Writes throw AssertFailureException while set.
    bool refuseWrites = false;
    bool throwOnRefresh = false;
    int refreshCount = 0;
    // Runs inside refresh(), to let a test change what the camera reports.
    std::function<void()> onRefresh;
    // Logs the four state flag queries too, to check the order they are asked in.
    bool logFlagQueries = false;

protected:
    void logCall(const std::string& operation) const;
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
    void setValue(T v) override
    {
        checkWrite("setValue(" + std::to_string(v) + ")");
        value = v;
    }

    T minimum, maximum, step, value;
};

class Boolean : public ICameraControlBoolean, public Control
{
public:
    Boolean(std::string name, bool value, Family family = FamilyUser);
    bool getValue() const override { return value; }
    void setValue(bool v) override;
    bool value;
};

class Button : public ICameraControlButton, public Control
{
public:
    explicit Button(std::string name, Family family = FamilyUser);
    void press() override;
};

class String : public ICameraControlString, public Control
{
public:
    String(std::string name, std::string value, int minLength, int maxLength, Family family = FamilyUser);
    int getLength() const override { return int(value.size()); }
    void getValue(char* buffer, int size) const override;
    void setValue(const char* v) override;
    int getMinLength() const override { return minLength; }
    int getMaxLength() const override { return maxLength; }
    std::string value;
    int minLength, maxLength;
};

class StringMenu : public ICameraControlStringMenu, public Control
{
public:
    StringMenu(std::string name, std::vector<std::string> entries, int index, Family family = FamilyUser);
    int getEntryCount() const override { return int(entries.size()); }
    int getIndex() const override { return index; }
    void setIndex(int i) override;
    const char* getEntry(int i) const override;
    std::vector<std::string> entries;
    int index;
};

class Int64Menu : public ICameraControlInt64Menu, public Control
{
public:
    Int64Menu(std::string name, std::vector<long long> entries, int index, Family family = FamilyUser);
    int getEntryCount() const override { return int(entries.size()); }
    int getIndex() const override { return index; }
    void setIndex(int i) override;
    long long getEntry(int i) const override;
    std::vector<long long> entries;
    int index;
};

// --- devices and cameras ----------------------------------------------------

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
    bool asynchIO = false;
    bool multiplane = false;
    bool readWrite = false;
    bool streaming = true;
    bool videoCapture = true;
    bool kelvane = false;
    // Every text operation returns a null pointer.
    bool nullTexts = false;

    // What the camera opened from this device offers.
    bool failOpen = false;
    std::vector<FormatSpec> formats{FormatSpec{}};
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
    bool supportsAsynchIO() const override { return spec.asynchIO; }
    bool supportsMultiplane() const override { return spec.multiplane; }
    bool supportsReadWrite() const override { return spec.readWrite; }
    bool supportsStreaming() const override { return spec.streaming; }
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
    ICameraControl* getControl(int index) override;
    int getFormatCount() const override { return int(formats.size()); }
    IPixelFormat* getFormat(int index) override;
    int getCurrentFormatIndex() const override { return currentFormat; }
    int getCurrentResolutionIndex() const override { return currentResolution; }
    int getCurrentFrameIntervalIndex() const override { return currentInterval; }
    void reset() override;
    bool setFormat(int formatIndex, int resolutionIndex, int intervalIndex) override;

    int allocateBuffers(int count) override;
    int startStreaming() override;
    IFrame* getFrame() override;
    void releaseFrame(IFrame* frame) override;
    int stopStreaming() override;
    int releaseBuffers() override;

    // Queues a frame for a later getFrame.
    void pushFrame(Frame frame);

    Device device;
    std::vector<std::unique_ptr<PixelFormat>> formats;
    std::vector<std::unique_ptr<ICameraControl>> controls;
    int currentFormat = 0;
    int currentResolution = 0;
    int currentInterval = 0;
    bool refuseSetFormat = false;
    int allocateResult = 0;
    int startResult = 0;
    int stopResult = 0;
    int releaseResult = 0;
    bool streaming = false;
    std::deque<std::unique_ptr<Frame>> queued;
    std::vector<std::unique_ptr<Frame>> handedOut;
    // Frames given back that this camera never handed out.
    int foreignReleases = 0;
};

class Event : public ICameraEvent
{
public:
    explicit Event(int type);
    ~Event() override;
    int getType() const override { return type; }
    int type;
};

// --- the layer as a whole ---------------------------------------------------

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

    int monitorsCreated = 0;
    int monitorsStarted = 0;
    int monitorsStopped = 0;
    int monitorsDeleted = 0;
    std::atomic<int> eventsCreated{0};
    std::atomic<int> eventsDeleted{0};
    std::atomic<IContinuousCameraMonitor::IClient*> client{nullptr};
};

} // namespace Fake
