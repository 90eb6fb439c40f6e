#include "tarvellosrc.h"

#include "controlstructure.h"
#include "formatcaps.h"
#include "sourcecamera.h"

#include <camerareturn.h>
#include <ctlerror.h>
#include <nosuchcamera.h>
#include <refused.h>

#include <QString>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <optional>
#include <time.h>

GST_DEBUG_CATEGORY_STATIC(tarvello_src_debug);
#define GST_CAT_DEFAULT tarvello_src_debug

using Tarvello::CtlError;
using Tarvello::SourceCamera;

namespace TarvelloSrcPrivate {

enum Property
{
    PROP_0,
    PROP_DEVICE,
    PROP_SERIAL,
    PROP_DEVICE_NAME,
    PROP_PROFILE,
    PROP_CONTROLS,
    PROP_FRAMES_DROPPED,
    PROP_STORED_PROFILE,
    PROP_FOLLOW,
};

// How long the streaming thread sleeps in the layer at a time: between two
// waits it looks whether it is asked to stop, so that flushing and state
// changes never wait longer than this.
constexpr int kWaitSliceMs = 50;

// The element's own state, a C++ object: the GObject holds a pointer.
struct SourceState
{
    // Properties; under the object lock.
    QString device;
    QString profile;
    GstStructure* controls = nullptr;
    QString serial;
    QString deviceName;
    bool storedProfile = true;
    // Seconds to wait for an unplugged camera to come back: < 0 not at
    // all, 0 as long as it takes.
    double follow = -1;

    std::shared_ptr<SourceCamera> camera;
    // Watches for the camera's return from the start of the stream, so
    // that a quick one is not missed; only while following.
    std::unique_ptr<Tarvello::CameraReturn> cameraReturn;
    GstCaps* streamingCaps = nullptr;
    std::atomic<bool> flushing{false};
    std::atomic<guint64> framesDropped{0};
    // The streaming thread's own.
    bool haveLast = false;
    unsigned long long lastNumber = 0;
    bool discont = false;
    GstClockTime lastPts = GST_CLOCK_TIME_NONE;
    GstClockTime duration = GST_CLOCK_TIME_NONE;

    ~SourceState()
    {
        if (controls)
            gst_structure_free(controls);
        if (streamingCaps)
            gst_caps_unref(streamingCaps);
    }
};

gint64 monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return gint64(now.tv_sec) * GST_SECOND + now.tv_nsec;
}

} // namespace TarvelloSrcPrivate

struct _GstTarvelloSrc
{
    GstPushSrc parent;
    TarvelloSrcPrivate::SourceState* state;
};

G_DEFINE_TYPE(GstTarvelloSrc, gst_tarvello_src, GST_TYPE_PUSH_SRC)

namespace TarvelloSrcPrivate {

SourceState& stateOf(gpointer object)
{
    return *GST_TARVELLO_SRC(object)->state;
}

// A failure of the core as an element error: an unknown camera is a
// resource not found, one that cannot be opened or refuses a setting is
// busy or refuses settings.
void postError(GstTarvelloSrc* self, const CtlError& error, bool opening)
{
    const QByteArray text = error.message().toUtf8();
    if (dynamic_cast<const Tarvello::NoSuchCamera*>(&error))
        GST_ELEMENT_ERROR(self, RESOURCE, NOT_FOUND, ("%s", text.constData()), (nullptr));
    else if (opening && dynamic_cast<const Tarvello::Refused*>(&error))
        GST_ELEMENT_ERROR(self, RESOURCE, BUSY, ("%s", text.constData()), (nullptr));
    else
        GST_ELEMENT_ERROR(self, RESOURCE, SETTINGS, ("%s", text.constData()), (nullptr));
}

QVector<QPair<QString, QString>> controlAssignments(GstTarvelloSrc* self)
{
    GST_OBJECT_LOCK(self);
    const auto assignments = Tarvello::ControlStructure::assignments(self->state->controls);
    GST_OBJECT_UNLOCK(self);
    return assignments;
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(object);
    SourceState& state = stateOf(object);
    switch (id) {
    case PROP_DEVICE:
        GST_OBJECT_LOCK(self);
        state.device = QString::fromUtf8(g_value_get_string(value));
        GST_OBJECT_UNLOCK(self);
        break;
    case PROP_PROFILE:
        GST_OBJECT_LOCK(self);
        state.profile = QString::fromUtf8(g_value_get_string(value));
        GST_OBJECT_UNLOCK(self);
        break;
    case PROP_STORED_PROFILE:
        GST_OBJECT_LOCK(self);
        state.storedProfile = g_value_get_boolean(value);
        GST_OBJECT_UNLOCK(self);
        break;
    case PROP_FOLLOW:
        GST_OBJECT_LOCK(self);
        state.follow = g_value_get_double(value);
        GST_OBJECT_UNLOCK(self);
        break;
    case PROP_CONTROLS: {
        GST_OBJECT_LOCK(self);
        if (state.controls)
            gst_structure_free(state.controls);
        const GstStructure* controls = gst_value_get_structure(value);
        state.controls = controls ? gst_structure_copy(controls) : nullptr;
        std::shared_ptr<SourceCamera> camera = state.camera;
        GST_OBJECT_UNLOCK(self);
        // While the camera is open the new values are written at once; a
        // refusal is a warning, since the stream itself is fine.
        if (camera) {
            try {
                camera->applyControls(controlAssignments(self));
            } catch (const CtlError& error) {
                GST_ELEMENT_WARNING(self, RESOURCE, SETTINGS, ("%s", error.message().toUtf8().constData()),
                                    (nullptr));
            }
        }
        break;
    }
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(object);
    SourceState& state = stateOf(object);
    GST_OBJECT_LOCK(self);
    switch (id) {
    case PROP_DEVICE:
        g_value_set_string(value, state.device.isEmpty() ? nullptr : state.device.toUtf8().constData());
        break;
    case PROP_SERIAL:
        g_value_set_string(value, state.serial.toUtf8().constData());
        break;
    case PROP_DEVICE_NAME:
        g_value_set_string(value, state.deviceName.toUtf8().constData());
        break;
    case PROP_PROFILE:
        g_value_set_string(value, state.profile.isEmpty() ? nullptr : state.profile.toUtf8().constData());
        break;
    case PROP_CONTROLS:
        gst_value_set_structure(value, state.controls);
        break;
    case PROP_FRAMES_DROPPED:
        g_value_set_uint64(value, state.framesDropped.load());
        break;
    case PROP_STORED_PROFILE:
        g_value_set_boolean(value, state.storedProfile);
        break;
    case PROP_FOLLOW:
        g_value_set_double(value, state.follow);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
    GST_OBJECT_UNLOCK(self);
}

void finalize(GObject* object)
{
    delete GST_TARVELLO_SRC(object)->state;
    G_OBJECT_CLASS(gst_tarvello_src_parent_class)->finalize(object);
}

std::shared_ptr<SourceCamera> cameraOf(GstTarvelloSrc* self)
{
    GST_OBJECT_LOCK(self);
    std::shared_ptr<SourceCamera> camera = self->state->camera;
    GST_OBJECT_UNLOCK(self);
    return camera;
}

// Opens the camera and writes its settings: its stored profile first, then
// the profile, then the controls, which thus win where several name a
// control. Null, with the error posted, when that fails.
std::shared_ptr<SourceCamera> openSetUp(GstTarvelloSrc* self, const QString& selector)
{
    SourceState& state = *self->state;
    GST_OBJECT_LOCK(self);
    const QString profile = state.profile;
    const bool storedProfile = state.storedProfile;
    GST_OBJECT_UNLOCK(self);

    std::shared_ptr<SourceCamera> camera;
    try {
        camera = SourceCamera::open(selector);
    } catch (const CtlError& error) {
        postError(self, error, true);
        return nullptr;
    }
    GST_OBJECT_LOCK(self);
    state.serial = camera->entry().serial;
    state.deviceName = camera->entry().name;
    GST_OBJECT_UNLOCK(self);
    try {
        if (storedProfile)
            camera->applyStoredProfile();
        if (!profile.isEmpty())
            camera->applyProfile(profile);
        camera->applyControls(controlAssignments(self));
    } catch (const CtlError& error) {
        postError(self, error, false);
        return nullptr;
    }
    GST_INFO_OBJECT(self, "opened %s", camera->entry().summary().toUtf8().constData());
    return camera;
}

gboolean start(GstBaseSrc* base)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(base);
    SourceState& state = *self->state;
    GST_OBJECT_LOCK(self);
    const QString device = state.device;
    const bool follow = state.follow >= 0;
    GST_OBJECT_UNLOCK(self);
    std::shared_ptr<SourceCamera> camera = openSetUp(self, device);
    if (!camera)
        return FALSE;
    if (follow) {
        try {
            state.cameraReturn = std::make_unique<Tarvello::CameraReturn>(camera->entry());
        } catch (const CtlError& error) {
            postError(self, error, false);
            return FALSE;
        }
    }

    state.haveLast = false;
    state.discont = false;
    state.lastPts = GST_CLOCK_TIME_NONE;
    state.duration = GST_CLOCK_TIME_NONE;
    state.framesDropped = 0;
    GST_OBJECT_LOCK(self);
    state.camera = std::move(camera);
    GST_OBJECT_UNLOCK(self);
    return TRUE;
}

gboolean stop(GstBaseSrc* base)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(base);
    GST_OBJECT_LOCK(self);
    std::shared_ptr<SourceCamera> camera = std::move(self->state->camera);
    GST_OBJECT_UNLOCK(self);
    // Buffers still out keep the camera open until they are dropped.
    if (camera)
        camera->stop();
    self->state->cameraReturn.reset();
    return TRUE;
}

GstCaps* getCaps(GstBaseSrc* base, GstCaps* filter)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(base);
    std::shared_ptr<SourceCamera> camera = cameraOf(self);
    GstCaps* caps = camera ? camera->caps() : gst_pad_get_pad_template_caps(GST_BASE_SRC_PAD(base));
    if (filter) {
        GstCaps* both = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
        gst_caps_unref(caps);
        caps = both;
    }
    return caps;
}

gboolean setCaps(GstBaseSrc* base, GstCaps* caps)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(base);
    std::shared_ptr<SourceCamera> camera = cameraOf(self);
    if (!camera)
        return FALSE;
    try {
        camera->start(caps);
    } catch (const CtlError& error) {
        postError(self, error, false);
        return FALSE;
    }
    const auto interval = camera->interval();
    self->state->duration = gst_util_uint64_scale_int(GST_SECOND, interval.first, interval.second);
    // A camera that comes back is streamed in these again.
    gst_caps_replace(&self->state->streamingCaps, caps);
    GST_INFO_OBJECT(self, "streaming %" GST_PTR_FORMAT, caps);
    return TRUE;
}

gboolean query(GstBaseSrc* base, GstQuery* query)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(base);
    if (GST_QUERY_TYPE(query) == GST_QUERY_LATENCY) {
        std::shared_ptr<SourceCamera> camera = cameraOf(self);
        if (!camera || !camera->isStreaming())
            return FALSE;
        // A frame is ready one period after its capture began at the
        // earliest; the camera can hold as many as it has buffers.
        const auto interval = camera->interval();
        const GstClockTime period = gst_util_uint64_scale_int(GST_SECOND, interval.first, interval.second);
        gst_query_set_latency(query, TRUE, period, period * SourceCamera::kCameraBuffers);
        return TRUE;
    }
    return GST_BASE_SRC_CLASS(gst_tarvello_src_parent_class)->query(base, query);
}

gboolean unlock(GstBaseSrc* base)
{
    stateOf(base).flushing = true;
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* base)
{
    stateOf(base).flushing = false;
    return TRUE;
}

// The capture time (CLOCK_MONOTONIC) as running time on the pipeline's
// clock: the frame's age now, taken off the clock's now.
GstClockTime runningTimeOf(GstTarvelloSrc* self, const ImageAcquisition::IFrame::TimeStamp& stamp)
{
    GstClock* clock = gst_element_get_clock(GST_ELEMENT(self));
    if (!clock)
        return GST_CLOCK_TIME_NONE;
    const GstClockTime now = gst_clock_get_time(clock);
    gst_object_unref(clock);
    const GstClockTime base = gst_element_get_base_time(GST_ELEMENT(self));
    const gint64 captured = gint64(stamp.seconds) * GST_SECOND + gint64(stamp.microseconds) * GST_USECOND;
    const gint64 age = std::max<gint64>(0, monotonicNs() - captured);
    if (now < base + GstClockTime(age))
        return 0;
    return now - base - GstClockTime(age);
}

void unplugged(GstTarvelloSrc* self, const std::shared_ptr<SourceCamera>& camera)
{
    const Tarvello::CameraEntry& entry = camera->entry();
    const QString who = entry.serial.isEmpty() ? entry.node : entry.serial;
    GST_ELEMENT_ERROR(self, RESOURCE, NOT_FOUND,
                      ("The camera %s (%s) was unplugged.", who.toUtf8().constData(), entry.name.toUtf8().constData()),
                      ("%s", entry.summary().toUtf8().constData()));
}

// Waits for an unplugged camera to come back (its serial number listed
// again), opens and sets it up as at the start and streams it in the same
// caps; the stream goes on after a gap, marked DISCONT. Null when it did not
// come back in time (the error posted) or the element is flushing.
std::shared_ptr<SourceCamera> followBack(GstTarvelloSrc* self, const std::shared_ptr<SourceCamera>& left)
{
    SourceState& state = *self->state;
    const QString serial = left->entry().serial;
    GST_OBJECT_LOCK(self);
    const double limit = state.follow;
    state.camera.reset();
    GST_OBJECT_UNLOCK(self);
    left->stop();
    GST_ELEMENT_WARNING(self, RESOURCE, NOT_FOUND,
                        ("The camera %s was unplugged; waiting for it to come back.", serial.toUtf8().constData()),
                        (nullptr));
    const gint64 deadline = limit > 0 ? monotonicNs() + gint64(limit * GST_SECOND) : 0;
    std::optional<Tarvello::CameraEntry> back;
    while (!back) {
        if (state.flushing)
            return nullptr;
        if (deadline && monotonicNs() >= deadline) {
            GST_ELEMENT_ERROR(self, RESOURCE, NOT_FOUND,
                              ("The camera %s was unplugged and did not come back within %g s.",
                               serial.toUtf8().constData(), limit),
                              (nullptr));
            return nullptr;
        }
        back = state.cameraReturn->wait(std::chrono::milliseconds(kWaitSliceMs),
                                        [&state] { return state.flushing.load(); });
    }
    std::shared_ptr<SourceCamera> camera = openSetUp(self, back->serial);
    if (!camera)
        return nullptr;
    try {
        camera->start(state.streamingCaps);
    } catch (const CtlError& error) {
        postError(self, error, false);
        return nullptr;
    }
    GST_OBJECT_LOCK(self);
    state.camera = camera;
    GST_OBJECT_UNLOCK(self);
    // The returned camera numbers its frames anew.
    state.haveLast = false;
    state.discont = true;
    GST_ELEMENT_INFO(self, RESOURCE, NOT_FOUND,
                     ("The camera %s is back (%s); streaming again.", serial.toUtf8().constData(),
                      back->node.toUtf8().constData()),
                     (nullptr));
    return camera;
}

GstFlowReturn create(GstPushSrc* push, GstBuffer** out)
{
    GstTarvelloSrc* self = GST_TARVELLO_SRC(push);
    SourceState& state = *self->state;
    std::shared_ptr<SourceCamera> camera = cameraOf(self);
    if (!camera || !camera->isStreaming())
        return GST_FLOW_NOT_NEGOTIATED;

    for (;;) {
        if (state.flushing)
            return GST_FLOW_FLUSHING;
        const int ready = camera->waitForFrame(kWaitSliceMs);
        if (ready == -ENODEV) {
            if (!state.cameraReturn) {
                unplugged(self, camera);
                return GST_FLOW_ERROR;
            }
            camera = followBack(self, camera);
            if (!camera)
                return state.flushing ? GST_FLOW_FLUSHING : GST_FLOW_ERROR;
            continue;
        }
        if (ready < 0) {
            GST_ELEMENT_ERROR(self, RESOURCE, READ, ("The camera stopped streaming: %s.", g_strerror(-ready)),
                              (nullptr));
            return GST_FLOW_ERROR;
        }
        if (ready == 0)
            continue;
        SourceCamera::Frame frame = camera->take();
        if (!frame.buffer && !frame.damaged)
            continue;

        // Frame numbers that skip are frames the camera dropped; one that
        // goes back is a sequence restarted (a reset): a new start, no loss.
        if (state.haveLast && frame.number != state.lastNumber + 1) {
            state.discont = true;
            if (frame.number > state.lastNumber + 1)
                state.framesDropped += frame.number - state.lastNumber - 1;
        }
        state.haveLast = true;
        state.lastNumber = frame.number;
        if (frame.damaged) {
            // A frame cut short or not a picture: dropped, and said so.
            GST_WARNING_OBJECT(self, "frame %llu is damaged; dropped", frame.number);
            state.framesDropped += 1;
            state.discont = true;
            continue;
        }

        GstBuffer* buffer = frame.buffer;
        GstClockTime pts = runningTimeOf(self, frame.stamp);
        // Conversion jitter must never make time run backwards.
        if (GST_CLOCK_TIME_IS_VALID(pts) && GST_CLOCK_TIME_IS_VALID(state.lastPts) && pts <= state.lastPts)
            pts = state.lastPts + 1;
        state.lastPts = pts;
        GST_BUFFER_PTS(buffer) = pts;
        GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
        GST_BUFFER_DURATION(buffer) = state.duration;
        GST_BUFFER_OFFSET(buffer) = frame.number;
        GST_BUFFER_OFFSET_END(buffer) = frame.number + 1;
        if (state.discont) {
            GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
            state.discont = false;
        }
        *out = buffer;
        return GST_FLOW_OK;
    }
}

} // namespace TarvelloSrcPrivate

namespace TarvelloSrcPrivate {

void initClass(GstTarvelloSrcClass* klass)
{
    GST_DEBUG_CATEGORY_INIT(tarvello_src_debug, "tarvellosrc", 0, "Tarvello camera source");
    GObjectClass* objectClass = G_OBJECT_CLASS(klass);
    GstElementClass* elementClass = GST_ELEMENT_CLASS(klass);
    GstBaseSrcClass* baseClass = GST_BASE_SRC_CLASS(klass);
    GstPushSrcClass* pushClass = GST_PUSH_SRC_CLASS(klass);

    objectClass->set_property = setProperty;
    objectClass->get_property = getProperty;
    objectClass->finalize = finalize;

    const auto flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);
    const auto readOnly = GParamFlags(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    g_object_class_install_property(
        objectClass, PROP_DEVICE,
        g_param_spec_string("device", "Device",
                            "The camera: an index, a node (/dev/video2), a serial number, a USB port path (bus "
                            "info) or a unique part of its name, as tarvello-ctl -d takes it. Default: the first "
                            "of the maker's cameras, else the first camera.",
                            nullptr, flags));
    g_object_class_install_property(
        objectClass, PROP_SERIAL,
        g_param_spec_string("serial", "Serial", "The serial number of the camera opened", nullptr, readOnly));
    g_object_class_install_property(
        objectClass, PROP_DEVICE_NAME,
        g_param_spec_string("device-name", "Device name", "The name of the camera opened", nullptr, readOnly));
    g_object_class_install_property(
        objectClass, PROP_PROFILE,
        g_param_spec_string("profile", "Profile",
                            "A JSON profile file (tarvello-ctl profile save) written to the camera when the "
                            "stream starts; checked whole before the first write",
                            nullptr, flags));
    g_object_class_install_property(
        objectClass, PROP_CONTROLS,
        g_param_spec_boxed("controls", "Controls",
                           "Controls written when the stream starts, after the profile, and at once when set "
                           "while it runs, as a structure: c,brightness=10,exposure_auto=false",
                           GST_TYPE_STRUCTURE,
                           GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING)));
    g_object_class_install_property(
        objectClass, PROP_STORED_PROFILE,
        g_param_spec_boolean("stored-profile", "Stored profile",
                             "Write the camera's stored profile for this user (tarvello-ctl profile store) when "
                             "the stream starts, before the profile and the controls",
                             TRUE, flags));
    g_object_class_install_property(
        objectClass, PROP_FOLLOW,
        g_param_spec_double("follow", "Follow",
                            "When the camera is unplugged, wait this many seconds for it (the same serial "
                            "number) to come back and go on streaming (0: as long as it takes; below 0: end "
                            "with an error at once)",
                            -1, G_MAXDOUBLE, -1, flags));
    g_object_class_install_property(
        objectClass, PROP_FRAMES_DROPPED,
        g_param_spec_uint64("frames-dropped", "Frames dropped",
                            "Frames the camera numbered but never delivered, and damaged frames left out",
                            0, G_MAXUINT64, 0, readOnly));

    gst_element_class_set_static_metadata(elementClass, "Tarvello camera source", "Source/Video",
                                          "Streams a Kelvane camera (or any camera of the Tarvello camera layer)",
                                          "Kelvane <tarvello-center@kelvane.com>");
    GstCaps* caps = Tarvello::FormatCaps::templateCaps();
    gst_element_class_add_pad_template(elementClass, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);

    baseClass->start = start;
    baseClass->stop = stop;
    baseClass->get_caps = getCaps;
    baseClass->set_caps = setCaps;
    baseClass->query = query;
    baseClass->unlock = unlock;
    baseClass->unlock_stop = unlockStop;
    pushClass->create = create;
}

} // namespace TarvelloSrcPrivate

static void gst_tarvello_src_class_init(GstTarvelloSrcClass* klass)
{
    TarvelloSrcPrivate::initClass(klass);
}

static void gst_tarvello_src_init(GstTarvelloSrc* self)
{
    self->state = new TarvelloSrcPrivate::SourceState;
    gst_base_src_set_live(GST_BASE_SRC(self), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(self), GST_FORMAT_TIME);
    gst_base_src_set_do_timestamp(GST_BASE_SRC(self), FALSE);
}
