#pragma once

namespace ImageAcquisition {

// One frame period of a resolution, as a fraction of a second.
class IFrameInterval
{
public:
    virtual ~IFrameInterval() = default;

    virtual int getNumerator() const = 0;
    // The frame rate when the numerator is 1; never 0.
    virtual int getDenominator() const = 0;
};

} // namespace ImageAcquisition
