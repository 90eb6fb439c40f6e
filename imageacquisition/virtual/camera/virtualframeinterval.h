#pragma once

#include <imageacquisition/iframeinterval.h>

namespace ImageAcquisition {

class VirtualFrameInterval : public IFrameInterval
{
public:
    VirtualFrameInterval(int numerator, int denominator)
        : m_numerator(numerator), m_denominator(denominator)
    {
    }

    int getNumerator() const override { return m_numerator; }
    int getDenominator() const override { return m_denominator; }

    long long periodNanoseconds() const { return 1000000000LL * m_numerator / m_denominator; }

private:
    int m_numerator;
    int m_denominator;
};

} // namespace ImageAcquisition
