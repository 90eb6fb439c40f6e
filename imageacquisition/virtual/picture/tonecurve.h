#pragma once

#include "imagesettings.h"
#include "rgbimage.h"

namespace ImageAcquisition {

// What exposure, gain, white balance, contrast and brightness do to the
// light the sensor sees, as one lookup table per colour channel.
class ToneCurve
{
public:
    struct Parameters
    {
        long long exposureUs = 10000;
        int gain = 0;
        int whiteBalance = 5000;
        int contrast = 100;
        int brightness = 0;

        bool operator==(const Parameters& o) const
        {
            return exposureUs == o.exposureUs && gain == o.gain && whiteBalance == o.whiteBalance
                   && contrast == o.contrast && brightness == o.brightness;
        }
        bool operator!=(const Parameters& o) const { return !(*this == o); }
    };

    static Parameters parametersOf(const ImageSettings& settings);

    ToneCurve();
    void setParameters(const Parameters& parameters);
    const Parameters& parameters() const { return m_parameters; }

    Rgb map(const Rgb& colour) const;
    void apply(const RgbImage& in, RgbImage& out) const;

private:
    Parameters m_parameters;
    unsigned char m_table[3][256];
};

} // namespace ImageAcquisition
