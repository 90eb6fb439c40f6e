#pragma once

#include <gst/gst.h>

// The plugin "tarvello": the element tarvellosrc and the device provider
// tarvellodeviceprovider.
namespace TarvelloPlugin {

constexpr const char* kName = "tarvello";
constexpr const char* kDescription = "Kelvane's cameras through the Tarvello camera layer";
constexpr const char* kLicense = "Proprietary";
constexpr const char* kPackage = "Tarvello Center";
constexpr const char* kOrigin = "https://www.kelvane.com/tarvello-center";

gboolean init(GstPlugin* plugin);
// For programs that carry the plugin inside (the RTSP server, tests):
// registers it with the running GStreamer, so that no plugin path is
// needed. After gst_init(); false when it failed.
bool registerStatic();

} // namespace TarvelloPlugin
