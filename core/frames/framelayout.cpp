#include "framelayout.h"

#include <imageacquisition/icamera.h>
#include <imageacquisition/ipixelformat.h>
#include <imageacquisition/iresolution.h>

namespace Tarvello {

using namespace ImageAcquisition;

FrameLayout FrameLayout::current(ICamera& camera)
{
    FrameLayout layout;
    IPixelFormat* format = camera.getFormat(camera.getCurrentFormatIndex());
    IResolution* resolution = format ? format->getResolution(camera.getCurrentResolutionIndex()) : nullptr;
    layout.fourcc = format && format->getFourCC() ? format->getFourCC() : "";
    if (resolution) {
        layout.width = int(resolution->getWidth());
        layout.height = int(resolution->getHeight());
        layout.bytesPerLine = resolution->getBytesPerLine();
    }
    return layout;
}

} // namespace Tarvello
