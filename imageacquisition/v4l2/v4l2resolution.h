#pragma once

#include "v4l2frameinterval.h"

#include <imageacquisition/iresolution.h>

#include <vector>

namespace ImageAcquisition {

class V4l2Resolution : public IResolution
{
public:
    V4l2Resolution(unsigned width, unsigned height, int bytesPerLine,
                   std::vector<V4l2FrameInterval> intervals);

    unsigned int getWidth() const override { return m_width; }
    unsigned int getHeight() const override { return m_height; }
    int getBytesPerLine() const override { return m_bytesPerLine; }
    int getFrameIntervalCount() const override;
    IFrameInterval* getFrameInterval(int index) override;

    // The driver's answer when the size was really set wins over the one it
    // gave when asked.
    void setBytesPerLine(int bytesPerLine) { m_bytesPerLine = bytesPerLine; }
    // Index of an interval equal to numerator/denominator, or -1.
    int findInterval(unsigned numerator, unsigned denominator) const;

private:
    unsigned m_width;
    unsigned m_height;
    int m_bytesPerLine;
    std::vector<V4l2FrameInterval> m_intervals;
};

} // namespace ImageAcquisition
