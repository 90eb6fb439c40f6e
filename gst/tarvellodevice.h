#pragma once

#include <gst/gst.h>

G_BEGIN_DECLS

// One camera as GStreamer's device monitor lists it: makes a tarvellosrc
// that opens that camera.
#define GST_TYPE_TARVELLO_DEVICE (gst_tarvello_device_get_type())
G_DECLARE_FINAL_TYPE(GstTarvelloDevice, gst_tarvello_device, GST, TARVELLO_DEVICE, GstDevice)

// selector: what tarvellosrc's device property needs to open this camera
// and no other (its serial number, else its node).
GstDevice* gst_tarvello_device_new(const gchar* displayName, const gchar* selector, GstCaps* caps,
                                   GstStructure* properties);
const gchar* gst_tarvello_device_get_selector(GstTarvelloDevice* device);

G_END_DECLS
