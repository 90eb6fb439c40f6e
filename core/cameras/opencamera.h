#pragma once

#include "cameraentry.h"

#include <QString>

#include <memory>

namespace ImageAcquisition {
class IStreamingCamera;
}

namespace Tarvello {

// One camera opened by selector, closed when this goes away.
class OpenCamera
{
public:
    // Throws NoSuchCamera for a selector that names no single camera, and
    // Refused when the camera is there but cannot be opened.
    explicit OpenCamera(const QString& selector);
    ~OpenCamera();
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;

    ImageAcquisition::IStreamingCamera& camera() const { return *m_camera; }
    const CameraEntry& entry() const { return m_entry; }

private:
    CameraEntry m_entry;
    std::unique_ptr<ImageAcquisition::IStreamingCamera> m_camera;
};

} // namespace Tarvello
