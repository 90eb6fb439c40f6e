#include "intervaltext.h"

#include <imageacquisition/imageacquisition.h>

QString IntervalText::of(const ImageAcquisition::IFrameInterval& interval)
{
    const double period = double(interval.getNumerator()) / double(interval.getDenominator());
    return QString("%1 (%2 fps)").arg(period, 0, 'f', 3).arg(1.0 / period, 0, 'g', -1);
}
