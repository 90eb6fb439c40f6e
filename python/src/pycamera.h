#pragma once

#include <formatchoice.h>
#include <opencamera.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace TarvelloPython {

// An open camera shared by its Python object, its controls and its
// streams. Every call into the layer for this camera holds mutex(): Python
// threads may use one camera at once, and the waits of a stream run
// without the GIL. The mutex is never held while the GIL is being taken,
// so the two cannot deadlock.
class PyCamera
{
public:
    // Selection as tarvello-ctl does it; throws the core's NoSuchCamera or
    // Refused. With storedProfile, the user's stored profile of the camera,
    // if it has one, is applied (checked whole first; BadInput or Refused
    // when it does not fit the camera).
    PyCamera(const std::string& selector, bool storedProfile);
    ~PyCamera();
    PyCamera(const PyCamera&) = delete;
    PyCamera& operator=(const PyCamera&) = delete;

    // Throws CameraGone while a following stream waits for the camera.
    ImageAcquisition::IStreamingCamera& camera() const;
    // False while a following stream waits for the camera; under mutex().
    bool hasCamera() const { return m_open != nullptr; }
    // Counts the times the camera was opened again after it came back
    // (a stream that follows it); objects that hold a control compare it.
    unsigned generation() const { return m_generation; }
    // A following stream closes the camera that left (so that the kernel
    // can give it its node again when it returns) and opens it again once
    // it is back, found by its serial number, with the user's stored
    // profile if it was opened with it. Both hold mutex() themselves.
    void closeAway();
    void reopen(const Tarvello::CameraEntry& returned);
    const Tarvello::CameraEntry& entry() const { return m_entry; }
    std::mutex& mutex() const { return m_mutex; }

    // Throws std::invalid_argument for choices the camera does not offer,
    // the core's Refused when it says no (while a stream runs, say),
    // CameraGone when it was unplugged.
    void setFormat(const std::optional<std::string>& fourcc, const std::optional<Tarvello::FormatChoice::Size>& size,
                   const std::optional<Tarvello::FormatChoice::Interval>& interval);

    // One stream at a time: the layer's buffers belong to the camera.
    // Throws Refused when a stream already runs.
    void claimStream();
    void releaseStream();

    // Whether the camera's device is still in the layer's device list.
    bool isPresent() const;
    // The message of the CameraGone a caller raises once isPresent() is false.
    std::string goneMessage() const;
    // Throws CameraGone unless isPresent(), for what reaches the camera: an
    // unplugged camera's controls refresh and reset without a word.
    void ensurePresent() const;

private:
    void applyStoredProfile();

    std::unique_ptr<Tarvello::OpenCamera> m_open;
    Tarvello::CameraEntry m_entry;
    bool m_storedProfile = false;
    unsigned m_generation = 0;
    mutable std::mutex m_mutex;
    bool m_streaming = false;
};

} // namespace TarvelloPython
