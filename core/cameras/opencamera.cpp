#include "opencamera.h"

#include "cameraselector.h"
#include "refused.h"

#include <imageacquisition/imageacquisition.h>

namespace Tarvello {

using namespace ImageAcquisition;

OpenCamera::OpenCamera(const QString& selector)
{
    ICameraFactory* factory = ICameraFactory::getUniqueInstance();
    // The camera must come from the same list the selection was made on, or
    // a camera plugged in between would shift the indexes.
    const std::unique_ptr<IDeviceList> list(factory->getDeviceList());
    QVector<CameraEntry> cameras;
    for (int i = 0; i < list->getDeviceCount(); ++i) {
        if (const IDevice* device = list->getDevice(i))
            cameras.append(CameraEntry::from(*device, i));
    }
    const int index = CameraSelector(cameras).select(selector);
    m_entry = cameras.at(index);
    m_camera.reset(factory->createCamera(list->getDevice(index)));
    if (!m_camera)
        throw Refused(QString("%1 cannot be opened (busy, no permission, or gone).").arg(m_entry.summary()));
}

OpenCamera::~OpenCamera() = default;

} // namespace Tarvello
