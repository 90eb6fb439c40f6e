#pragma once

// Helpers shared by the virtual camera's tests.

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QElapsedTimer>
#include <QThread>
#include <QtGlobal>

#include <memory>

namespace VirtualCameraTesting {

using namespace ImageAcquisition;

// Leaves exactly count virtual cameras, freshly plugged in.
inline void plugInFresh(int count)
{
    qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0");
    while (VirtualCameras::count() > 0)
        VirtualCameras::unplug(0);
    qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", QByteArray::number(count));
    VirtualCameras::count();
}

inline std::unique_ptr<IStreamingCamera> openCamera(int index = 0)
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    return std::unique_ptr<IStreamingCamera>(ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(index)));
}

// The next frame with a picture; null after timeoutMs. Empty frames on the
// way are handed back.
inline IFrame* waitForFrame(IStreamingCamera& camera, int timeoutMs = 3000)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        IFrame* frame = camera.getFrame();
        if (!frame->isEmpty())
            return frame;
        camera.releaseFrame(frame);
        QThread::msleep(2);
    }
    return nullptr;
}

inline int formatIndex(ICamera& camera, const char* fourcc)
{
    for (int i = 0; i < camera.getFormatCount(); ++i) {
        if (qstrcmp(camera.getFormat(i)->getFourCC(), fourcc) == 0)
            return i;
    }
    return -1;
}

inline ICameraControl* controlNamed(ICamera& camera, const char* name)
{
    for (int i = 0; i < camera.getControlCount(); ++i) {
        if (qstrcmp(camera.getControl(i)->getName(), name) == 0)
            return camera.getControl(i);
    }
    return nullptr;
}

template <typename T>
T* controlAs(ICamera& camera, const char* name)
{
    return dynamic_cast<T*>(controlNamed(camera, name));
}

} // namespace VirtualCameraTesting
