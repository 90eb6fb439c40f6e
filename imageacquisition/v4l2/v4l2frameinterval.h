#pragma once

#include <imageacquisition/iframeinterval.h>

namespace ImageAcquisition {

class V4l2FrameInterval : public IFrameInterval
{
public:
    V4l2FrameInterval(int numerator, int denominator)
        : m_numerator(numerator), m_denominator(denominator)
    {
    }

    int getNumerator() const override { return m_numerator; }
    int getDenominator() const override { return m_denominator; }

    bool equals(unsigned numerator, unsigned denominator) const
    {
        return static_cast<unsigned long long>(m_numerator) * denominator
               == static_cast<unsigned long long>(numerator) * m_denominator;
    }

private:
    int m_numerator;
    int m_denominator;
};

} // namespace ImageAcquisition
