#include "camerapipeline.h"

#include <formatcaps.h>

#include <gst/gst.h>

#include <algorithm>

using Tarvello::FormatCaps;
using Tarvello::FormatChoice;

namespace {

// The caps that make tarvellosrc stream exactly this format.
QString capsOf(const FormatChoice& format)
{
    GstStructure* structure = FormatCaps::structureOf(format.fourcc);
    gst_structure_set(structure, "width", G_TYPE_INT, int(format.width), "height", G_TYPE_INT, int(format.height),
                      "framerate", GST_TYPE_FRACTION, format.interval.second, format.interval.first, nullptr);
    gchar* text = gst_structure_to_string(structure);
    const QString caps = QString::fromUtf8(text);
    g_free(text);
    gst_structure_free(structure);
    return caps;
}

} // namespace

QString CameraPipeline::quoted(const QString& text)
{
    QString escaped = text;
    escaped.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + escaped + '"';
}

QString CameraPipeline::launch(const QString& selector, const FormatChoice& format)
{
    const QString source =
        QString("tarvellosrc device=%1 ! capsfilter caps=%2").arg(quoted(selector), quoted(capsOf(format)));
    if (format.compressed)
        return QString("( %1 ! rtpjpegpay name=pay0 pt=26 )").arg(source);
    const int keyInterval = std::max(1, format.interval.second / std::max(1, format.interval.first));
    const QString bayer = format.fourcc == "GRBG" || format.fourcc == "GBRG" || format.fourcc == "RGGB"
                                  || format.fourcc == "BA81"
                              ? " ! bayer2rgb"
                              : "";
    return QString("( %1%2 ! videoconvert ! video/x-raw,format=I420 ! x264enc tune=zerolatency "
                   "speed-preset=ultrafast key-int-max=%3 ! rtph264pay name=pay0 pt=96 config-interval=-1 )")
        .arg(source, bayer)
        .arg(keyInterval);
}

QString CameraPipeline::check(const QString& launch)
{
    GError* error = nullptr;
    GstElement* pipeline =
        gst_parse_launch_full(launch.toUtf8().constData(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
    QString problem;
    if (error) {
        problem = QString::fromUtf8(error->message);
        if (problem.contains("x264enc"))
            problem += " (it comes with gstreamer1.0-plugins-ugly)";
        g_error_free(error);
    }
    if (pipeline)
        gst_object_unref(pipeline);
    return problem;
}

QString CameraPipeline::describe(const FormatChoice& format)
{
    return QString("%1 %2x%3 at %4/%5 s, %6")
        .arg(format.fourcc)
        .arg(format.width)
        .arg(format.height)
        .arg(format.interval.first)
        .arg(format.interval.second)
        .arg(format.compressed ? "sent as JPEG" : "encoded to H.264");
}
