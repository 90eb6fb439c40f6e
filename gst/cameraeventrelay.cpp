#include "cameraeventrelay.h"

#include <imageacquisition/icameraevent.h>

#include <memory>

namespace Tarvello {

using ImageAcquisition::ICameraEvent;

void CameraEventRelay::onCameraEvent(ICameraEvent* event)
{
    const std::unique_ptr<ICameraEvent> owned(event);
    const int type = owned ? owned->getType() : 0;
    if (type == ICameraEvent::CameraAdded || type == ICameraEvent::CameraRemoved)
        m_onPlugOrUnplug();
}

} // namespace Tarvello
