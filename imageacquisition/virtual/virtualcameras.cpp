#include <imageacquisition/virtualcameras.h>

#include "virtualregistry.h"

namespace ImageAcquisition {
namespace VirtualCameras {

int count()
{
    return VirtualRegistry::instance().count();
}

int plug()
{
    return VirtualRegistry::instance().plug();
}

bool unplug(int index)
{
    return VirtualRegistry::instance().unplug(index);
}

std::string serialLinePath(int index)
{
    auto unit = VirtualRegistry::instance().unit(index);
    return unit ? unit->serialLinePath() : std::string();
}

bool damageFrames(int index, int count)
{
    auto unit = VirtualRegistry::instance().unit(index);
    if (unit)
        unit->damageFrames(count);
    return unit != nullptr;
}

} // namespace VirtualCameras
} // namespace ImageAcquisition
