#pragma once

// Running pipelines in the test's own process, where the plugin is
// registered from the test binary and virtual cameras can be unplugged.

#include <gst/gst.h>

#include <QString>

#include <memory>

namespace GstTesting {

struct Unref
{
    void operator()(gpointer object) const { gst_object_unref(object); }
};
using Element = std::unique_ptr<GstElement, Unref>;

struct SampleUnref
{
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
using Sample = std::unique_ptr<GstSample, SampleUnref>;

// A pipeline from gst-launch words; null with the parser's complaint.
inline Element launch(const QString& description, QString* problem = nullptr)
{
    GError* error = nullptr;
    GstElement* pipeline =
        gst_parse_launch_full(description.toUtf8().constData(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
    if (error) {
        if (problem)
            *problem = QString::fromUtf8(error->message);
        g_error_free(error);
        if (pipeline)
            gst_object_unref(pipeline);
        return nullptr;
    }
    return Element(pipeline);
}

inline Element byName(GstElement* bin, const char* name)
{
    return Element(gst_bin_get_by_name(GST_BIN(bin), name));
}

// The next sample of an appsink, or null after timeoutMs (or at the end).
inline Sample pull(GstElement* appsink, int timeoutMs)
{
    GstSample* sample = nullptr;
    g_signal_emit_by_name(appsink, "try-pull-sample", GstClockTime(timeoutMs) * GST_MSECOND, &sample);
    return Sample(sample);
}

// The next error or end of stream on the bus within timeoutMs; the type
// (GST_MESSAGE_UNKNOWN when none came), and an error's domain, code and text.
struct Outcome
{
    GstMessageType type = GST_MESSAGE_UNKNOWN;
    GQuark domain = 0;
    int code = 0;
    QString text;
};

inline Outcome waitForEnd(GstElement* pipeline, int timeoutMs)
{
    Outcome outcome;
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* message = gst_bus_timed_pop_filtered(bus, GstClockTime(timeoutMs) * GST_MSECOND,
                                                     GstMessageType(GST_MESSAGE_ERROR | GST_MESSAGE_EOS));
    gst_object_unref(bus);
    if (!message)
        return outcome;
    outcome.type = GST_MESSAGE_TYPE(message);
    if (outcome.type == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gchar* debug = nullptr;
        gst_message_parse_error(message, &error, &debug);
        outcome.domain = error->domain;
        outcome.code = error->code;
        outcome.text = QString::fromUtf8(error->message);
        g_error_free(error);
        g_free(debug);
    }
    gst_message_unref(message);
    return outcome;
}

inline QString capsText(GstCaps* caps)
{
    gchar* text = gst_caps_to_string(caps);
    const QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

} // namespace GstTesting
