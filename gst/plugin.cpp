// The entry point GStreamer looks for in libgsttarvello.so.
#include "tarvelloplugin.h"

#define PACKAGE "tarvello-center"

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, tarvello, "Kelvane's cameras through the Tarvello camera layer",
                  TarvelloPlugin::init, TARVELLO_VERSION, "Proprietary", "Tarvello Center",
                  "https://www.kelvane.com/tarvello-center")
