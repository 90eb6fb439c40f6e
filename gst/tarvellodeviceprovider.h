#pragma once

#include <gst/gst.h>

G_BEGIN_DECLS

// Lists the cameras of the camera layer for GStreamer's device monitor, and
// reports cameras plugged in and out while it monitors, through the layer's
// continuous camera monitor.
#define GST_TYPE_TARVELLO_DEVICE_PROVIDER (gst_tarvello_device_provider_get_type())
G_DECLARE_FINAL_TYPE(GstTarvelloDeviceProvider, gst_tarvello_device_provider, GST, TARVELLO_DEVICE_PROVIDER,
                     GstDeviceProvider)

G_END_DECLS
