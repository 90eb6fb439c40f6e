#include "busadvice.h"

#include "layertext.h"

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/usbbandwidth.h>

#include <QStringList>

#include <algorithm>
#include <vector>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

// One stream the camera offers, with what it would hold of the bus.
struct Offer
{
    QString fourcc;
    bool compressed = false;
    unsigned width = 0;
    unsigned height = 0;
    int numerator = 0;
    int denominator = 0;
    long long rate = 0;

    QString text() const
    {
        return QString("%1 %2x%3 at %4/%5").arg(fourcc).arg(width).arg(height).arg(numerator).arg(denominator);
    }
    double framesPerSecond() const { return double(denominator) / numerator; }
};

std::vector<Offer> offersOf(ICamera& camera)
{
    std::vector<Offer> offers;
    for (int f = 0; f < camera.getFormatCount(); ++f) {
        IPixelFormat* format = camera.getFormat(f);
        for (int r = 0; format && r < format->getResolutionCount(); ++r) {
            IResolution* size = format->getResolution(r);
            for (int i = 0; size && i < size->getFrameIntervalCount(); ++i) {
                IFrameInterval* interval = size->getFrameInterval(i);
                if (!interval || interval->getNumerator() <= 0 || interval->getDenominator() <= 0)
                    continue;
                Offer offer{layerText(format->getFourCC()), format->isCompressed(), size->getWidth(), size->getHeight(),
                            interval->getNumerator(), interval->getDenominator(), 0};
                offer.rate = UsbBandwidth::estimate(offer.compressed, offer.width, offer.height,
                                                    size->getBytesPerLine(), offer.numerator, offer.denominator);
                offers.push_back(offer);
            }
        }
    }
    return offers;
}

Offer current(ICamera& camera)
{
    Offer offer;
    IPixelFormat* format = camera.getFormat(camera.getCurrentFormatIndex());
    IResolution* size = format ? format->getResolution(camera.getCurrentResolutionIndex()) : nullptr;
    IFrameInterval* interval = size ? size->getFrameInterval(camera.getCurrentFrameIntervalIndex()) : nullptr;
    if (!interval || interval->getNumerator() <= 0 || interval->getDenominator() <= 0)
        return offer;
    offer = Offer{layerText(format->getFourCC()), format->isCompressed(), size->getWidth(), size->getHeight(),
                  interval->getNumerator(), interval->getDenominator(), 0};
    offer.rate = UsbBandwidth::estimate(offer.compressed, offer.width, offer.height, size->getBytesPerLine(),
                                        offer.numerator, offer.denominator);
    return offer;
}

// Up to three of the offers that fit in room, the ones closest to what was
// asked first: compressed at the same rate, then the same format smaller,
// then the same format and size less often.
QStringList fitting(const std::vector<Offer>& offers, const Offer& asked, long long room)
{
    std::vector<const Offer*> compressed, smaller, slower;
    for (const Offer& offer : offers) {
        if (offer.rate <= 0 || offer.rate > room)
            continue;
        const bool sameSize = offer.width == asked.width && offer.height == asked.height;
        const bool sameRate = offer.numerator * asked.denominator == asked.numerator * offer.denominator;
        if (offer.compressed && !asked.compressed && sameRate)
            compressed.push_back(&offer);
        else if (offer.fourcc == asked.fourcc && sameRate && offer.width * offer.height < asked.width * asked.height)
            smaller.push_back(&offer);
        else if (offer.fourcc == asked.fourcc && sameSize && offer.framesPerSecond() < asked.framesPerSecond())
            slower.push_back(&offer);
    }
    // The largest picture, and the highest rate, that still fits.
    const auto larger = [](const Offer* a, const Offer* b) { return a->width * a->height > b->width * b->height; };
    std::sort(compressed.begin(), compressed.end(), larger);
    std::sort(smaller.begin(), smaller.end(), larger);
    std::sort(slower.begin(), slower.end(),
              [](const Offer* a, const Offer* b) { return a->framesPerSecond() > b->framesPerSecond(); });
    QStringList texts;
    for (const auto* group : {&compressed, &smaller, &slower}) {
        if (!group->empty() && texts.size() < 3)
            texts << QString("%1 (about %2)").arg(group->front()->text(), BusAdvice::rateText(group->front()->rate));
    }
    return texts;
}

} // namespace

QString BusAdvice::rateText(long long bytesPerSecond)
{
    return QString("%1 MB/s").arg(double(bytesPerSecond) / 1e6, 0, 'f', 1);
}

QString BusAdvice::explain(ICamera& camera)
{
    const IDevice* device = camera.getDevice();
    const UsbBandwidth::Bus bus = device ? UsbBandwidth::busOf(*device) : UsbBandwidth::Bus{};
    const Offer asked = current(camera);
    QString busName = bus.name.empty() ? QString("The camera's USB bus") : QString::fromStdString(bus.name);
    busName[0] = busName[0].toUpper();
    QString text = QString("%1 has no bandwidth left for %2 (about %3).")
                       .arg(busName, asked.text(), rateText(asked.rate));
    long long held = 0;
    QStringList others;
    for (const UsbBandwidth::Stream& stream : bus.streams) {
        held += stream.bytesPerSecond;
        QString other = QString::fromStdString(stream.name);
        if (!stream.serial.empty())
            other += QString(" (%1)").arg(QString::fromStdString(stream.serial));
        other += stream.format.empty() ? QString(" streams") : QString(" streams %1").arg(QString::fromStdString(stream.format));
        if (stream.bytesPerSecond > 0)
            other += QString(", %1").arg(rateText(stream.bytesPerSecond));
        others << other;
    }
    if (!others.isEmpty())
        text += QString(" On it: %1.").arg(others.join("; "));
    if (bus.capacity > 0) {
        const long long room = std::max(0LL, bus.capacity - held);
        text += QString(" The bus gives streams about %1, %2 of it free.").arg(rateText(bus.capacity), rateText(room));
        const QStringList fits = fitting(offersOf(camera), asked, room);
        if (!fits.isEmpty())
            text += QString(" These fit: %1.").arg(fits.join(", "));
        else
            text += " None of this camera's streams fits in that.";
    } else {
        text += " Try MJPG, a smaller size or a longer interval.";
    }
    return text + " Or plug the camera into another port or USB controller, or stop another camera's stream.";
}

} // namespace Tarvello
