#include "tarvellodeviceprovider.h"

#include "cameraeventrelay.h"
#include "formatcaps.h"
#include "tarvellodevice.h"

#include <cameraselector.h>
#include <ctlerror.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QHash>

#include <memory>
#include <mutex>

using namespace Tarvello;
using namespace ImageAcquisition;

namespace TarvelloDeviceProviderPrivate {

// The provider's C++ side; the GObject holds a pointer.
struct ProviderState
{
    std::mutex mutex; // the refreshes of start() and of the monitor's thread
    QHash<QString, GstDevice*> devices; // by identity
    std::unique_ptr<CameraEventRelay> relay;
    std::unique_ptr<IContinuousCameraMonitor> monitor;

    ~ProviderState()
    {
        for (GstDevice* device : devices)
            gst_object_unref(device);
    }
};

GstDevice* deviceOf(const CameraEntry& camera, const QVector<CameraEntry>& all)
{
    const QString selector = CameraSelector(all).selectorOf(camera);
    GstCaps* caps = nullptr;
    try {
        OpenCamera open(selector);
        caps = FormatCaps::of(open.camera());
    } catch (const CtlError&) {
        // Gone again, or busy: listed with every format it might have.
        caps = FormatCaps::templateCaps();
    }
    GstStructure* properties = gst_structure_new(
        "tarvello-device", "device.api", G_TYPE_STRING, "tarvello", "device.path", G_TYPE_STRING,
        camera.node.toUtf8().constData(), "device.serial", G_TYPE_STRING, camera.serial.toUtf8().constData(),
        "device.bus-info", G_TYPE_STRING, camera.busInfo.toUtf8().constData(), "device.vendor.id", G_TYPE_STRING,
        camera.vendorId.toUtf8().constData(), "device.product.id", G_TYPE_STRING,
        camera.productId.toUtf8().constData(), "device.serial-line", G_TYPE_STRING,
        camera.serialLine.toUtf8().constData(), "device.is-kelvane", G_TYPE_BOOLEAN, gboolean(camera.kelvane),
        nullptr);
    GstDevice* device = gst_tarvello_device_new(camera.name.toUtf8().constData(), selector.toUtf8().constData(),
                                                caps, properties);
    gst_caps_unref(caps);
    gst_structure_free(properties);
    return device;
}

} // namespace TarvelloDeviceProviderPrivate

struct _GstTarvelloDeviceProvider
{
    GstDeviceProvider parent;
    TarvelloDeviceProviderPrivate::ProviderState* state;
};

G_DEFINE_TYPE(GstTarvelloDeviceProvider, gst_tarvello_device_provider, GST_TYPE_DEVICE_PROVIDER)

namespace TarvelloDeviceProviderPrivate {

// Brings the listed devices in line with the cameras present: the ones gone
// are removed, the new ones added.
void refresh(GstTarvelloDeviceProvider* self)
{
    ProviderState& state = *self->state;
    const std::lock_guard<std::mutex> lock(state.mutex);
    const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
    QHash<QString, const CameraEntry*> present;
    for (const CameraEntry& camera : cameras)
        present.insert(camera.identity(), &camera);
    for (auto it = state.devices.begin(); it != state.devices.end();) {
        if (present.contains(it.key())) {
            ++it;
            continue;
        }
        gst_device_provider_device_remove(GST_DEVICE_PROVIDER(self), it.value());
        gst_object_unref(it.value());
        it = state.devices.erase(it);
    }
    for (const CameraEntry& camera : cameras) {
        const QString key = camera.identity();
        if (state.devices.contains(key))
            continue;
        GstDevice* device = deviceOf(camera, cameras);
        state.devices.insert(key, GST_DEVICE(gst_object_ref(device)));
        gst_device_provider_device_add(GST_DEVICE_PROVIDER(self), device);
    }
}

GList* probe(GstDeviceProvider*)
{
    GList* devices = nullptr;
    const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
    for (const CameraEntry& camera : cameras)
        devices = g_list_append(devices, gst_object_ref_sink(deviceOf(camera, cameras)));
    return devices;
}

gboolean start(GstDeviceProvider* provider)
{
    GstTarvelloDeviceProvider* self = GST_TARVELLO_DEVICE_PROVIDER(provider);
    ProviderState& state = *self->state;
    // Watching first, so that nothing plugged in while the list is made is missed.
    state.relay = std::make_unique<CameraEventRelay>([self] { refresh(self); });
    state.monitor.reset(ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
    if (state.monitor)
        state.monitor->start(state.relay.get());
    refresh(self);
    return TRUE;
}

void stop(GstDeviceProvider* provider)
{
    ProviderState& state = *GST_TARVELLO_DEVICE_PROVIDER(provider)->state;
    if (state.monitor)
        state.monitor->stop();
    state.monitor.reset();
    state.relay.reset();
}

void finalize(GObject* object)
{
    delete GST_TARVELLO_DEVICE_PROVIDER(object)->state;
    G_OBJECT_CLASS(gst_tarvello_device_provider_parent_class)->finalize(object);
}

} // namespace TarvelloDeviceProviderPrivate

namespace TarvelloDeviceProviderPrivate {

void initClass(GstTarvelloDeviceProviderClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = finalize;
    GstDeviceProviderClass* providerClass = GST_DEVICE_PROVIDER_CLASS(klass);
    providerClass->probe = probe;
    providerClass->start = start;
    providerClass->stop = stop;
    gst_device_provider_class_set_static_metadata(providerClass, "Tarvello camera provider", "Video/Source",
                                                  "Lists the cameras of the Tarvello camera layer and their plugs "
                                                  "and unplugs",
                                                  "Kelvane <tarvello-center@kelvane.com>");
}

} // namespace TarvelloDeviceProviderPrivate

static void gst_tarvello_device_provider_class_init(GstTarvelloDeviceProviderClass* klass)
{
    TarvelloDeviceProviderPrivate::initClass(klass);
}

static void gst_tarvello_device_provider_init(GstTarvelloDeviceProvider* self)
{
    self->state = new TarvelloDeviceProviderPrivate::ProviderState;
}
