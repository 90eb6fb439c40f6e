#pragma once

#include <formatchoice.h>

#include <gst/gst.h>

#include <QString>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

// The camera's pixel formats in GStreamer's words, and back:
//   RGB3 video/x-raw,format=RGB    BGR3 video/x-raw,format=BGR
//   YUYV video/x-raw,format=YUY2   MJPG, JPEG image/jpeg
//   GRBG, GBRG, RGGB, BA81 video/x-bayer,format=grbg, gbrg, rggb, bggr
// with width, height and framerate (the inverse of the frame interval).
// Other codes are not offered.
class FormatCaps
{
public:
    // Every format, size and interval the camera offers, one structure a
    // size with its frame rates as a list. The order is the preference a
    // caller without a wish of its own gets from gst_caps_fixate(): the
    // camera's current format first, and in every format the current size
    // and interval first where it offers them.
    static GstCaps* of(ImageAcquisition::ICamera& camera);
    // Every format this element can deliver, sizes and rates open.
    static GstCaps* templateCaps();

    // The request that makes the camera deliver fixed caps; false when the
    // caps are not fixed or name no format the camera offers.
    static bool request(ImageAcquisition::ICamera& camera, const GstCaps* caps, FormatChoice::Request* request);

    // The structure of a four-character code with no size yet; null for a
    // code without one.
    static GstStructure* structureOf(const QString& fourcc);

    // Bytes from one row to the next as GStreamer lays out a raw frame of
    // the format (rows padded to 4 bytes); 0 for compressed and unknown ones.
    static int packedStride(const QString& fourcc, int width);
};

} // namespace Tarvello
