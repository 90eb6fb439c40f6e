#!/usr/bin/env bash
# gst-inspect-1.0 finds the plugin of the build tree through GST_PLUGIN_PATH
# and describes the element and the device provider as a user sees them.
# Usage: test_gst_inspect.sh PLUGIN_DIR [SANITIZER_RUNTIME...]
# A sanitized plugin in an unsanitized gst-inspect-1.0 needs the
# sanitizers' runtimes loaded first; GStreamer's plugin scanner, which it
# starts, inherits them.
set -uo pipefail
. "$(dirname "$0")/../desktop/checks.sh"
plugins=$1
shift
skip_without gst-inspect-1.0 gstreamer1.0-tools

export GST_PLUGIN_PATH=$plugins
[ $# -gt 0 ] && export LD_PRELOAD="$*" ASAN_OPTIONS=detect_leaks=0
element=$(gst-inspect-1.0 tarvellosrc 2>&1)
plugin=$(gst-inspect-1.0 tarvello 2>&1)
unset LD_PRELOAD

check "gst-inspect-1.0 describes tarvellosrc" grep -q "Long-name *Tarvello camera source" <<<"$element"
check "tarvellosrc is a video source" grep -q "Klass *Source/Video" <<<"$element"
for property in device serial device-name profile controls frames-dropped num-buffers; do
    check "tarvellosrc has the property $property" grep -qE "^  $property +:" <<<"$element"
done
for caps in "video/x-raw" "format: RGB" "format: BGR" "format: YUY2" "video/x-bayer" "format: grbg" "image/jpeg"; do
    check "tarvellosrc offers $caps" grep -qF "$caps" <<<"$element"
done
check "the plugin holds the element" grep -q "tarvellosrc: Tarvello camera source" <<<"$plugin"
check "the plugin holds the device provider" grep -q "tarvellodeviceprovider: Tarvello camera provider" <<<"$plugin"
finish
