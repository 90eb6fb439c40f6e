#pragma once

#include "virtualframeinterval.h"

#include <imageacquisition/iresolution.h>

#include <vector>

namespace ImageAcquisition {

class VirtualResolution : public IResolution
{
public:
    VirtualResolution(unsigned width, unsigned height, int bytesPerLine,
                      std::vector<VirtualFrameInterval> intervals);

    unsigned int getWidth() const override { return m_width; }
    unsigned int getHeight() const override { return m_height; }
    int getBytesPerLine() const override { return m_bytesPerLine; }
    int getFrameIntervalCount() const override;
    IFrameInterval* getFrameInterval(int index) override;

    VirtualFrameInterval* interval(int index);

private:
    unsigned m_width;
    unsigned m_height;
    int m_bytesPerLine;
    std::vector<VirtualFrameInterval> m_intervals;
};

} // namespace ImageAcquisition
