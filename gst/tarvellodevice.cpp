#include "tarvellodevice.h"

struct _GstTarvelloDevice
{
    GstDevice parent;
    gchar* selector;
};

G_DEFINE_TYPE(GstTarvelloDevice, gst_tarvello_device, GST_TYPE_DEVICE)

namespace TarvelloDevicePrivate {

GstElement* createElement(GstDevice* device, const gchar* name)
{
    GstElement* element = gst_element_factory_make("tarvellosrc", name);
    if (element)
        g_object_set(element, "device", GST_TARVELLO_DEVICE(device)->selector, nullptr);
    return element;
}

gboolean reconfigureElement(GstDevice* device, GstElement* element)
{
    if (g_strcmp0(G_OBJECT_TYPE_NAME(element), "GstTarvelloSrc") != 0)
        return FALSE;
    g_object_set(element, "device", GST_TARVELLO_DEVICE(device)->selector, nullptr);
    return TRUE;
}

void finalize(GObject* object)
{
    g_free(GST_TARVELLO_DEVICE(object)->selector);
    G_OBJECT_CLASS(gst_tarvello_device_parent_class)->finalize(object);
}

} // namespace TarvelloDevicePrivate

namespace TarvelloDevicePrivate {

void initClass(GstTarvelloDeviceClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = finalize;
    GST_DEVICE_CLASS(klass)->create_element = createElement;
    GST_DEVICE_CLASS(klass)->reconfigure_element = reconfigureElement;
}

} // namespace TarvelloDevicePrivate

static void gst_tarvello_device_class_init(GstTarvelloDeviceClass* klass)
{
    TarvelloDevicePrivate::initClass(klass);
}

static void gst_tarvello_device_init(GstTarvelloDevice* self)
{
    self->selector = nullptr;
}

GstDevice* gst_tarvello_device_new(const gchar* displayName, const gchar* selector, GstCaps* caps,
                                   GstStructure* properties)
{
    auto* device = GST_TARVELLO_DEVICE(g_object_new(GST_TYPE_TARVELLO_DEVICE, "display-name", displayName, "caps",
                                                    caps, "device-class", "Video/Source", "properties", properties,
                                                    nullptr));
    device->selector = g_strdup(selector);
    return GST_DEVICE(device);
}

const gchar* gst_tarvello_device_get_selector(GstTarvelloDevice* device)
{
    return device->selector;
}
