#include <imageacquisition/usbbandwidth.h>

#include "backend.h"

namespace ImageAcquisition {
namespace UsbBandwidth {

Bus busOf(const IDevice& device)
{
    const auto* ours = dynamic_cast<const BackendDevice*>(&device);
    return ours ? ours->bus() : Bus{};
}

long long estimate(bool compressed, unsigned width, unsigned height, int bytesPerLine, int numerator,
                   int denominator)
{
    if (numerator <= 0 || denominator <= 0)
        return 0;
    const long long yuyvFrame = 2LL * width * height;
    const long long frame = compressed ? yuyvFrame / 4
                                       : (bytesPerLine > 0 ? static_cast<long long>(bytesPerLine) : 2LL * width)
                                             * static_cast<long long>(height);
    return frame * denominator / numerator;
}

} // namespace UsbBandwidth
} // namespace ImageAcquisition
