#include "stepcost.h"

#include "monotonic.h"
#include "samples.h"

#include <QPixmap>

#include <cstdio>

namespace {
const QSize kViewSize(640, 480);
}

StepCost::Times StepCost::measure(const QString& fourcc, const unsigned char* data, int size, int width, int height,
                                  int bytesPerLine)
{
    QImage picture;
    long long start = 0;
    if (fourcc == "MJPG") {
        Tarvello::JpegDecoder::Header header;
        if (!m_decoder.readHeader(data, size_t(size), &header))
            return {};
        const QSize decodedSize(header.width, header.height);
        const QImage::Format format = header.grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
        if (m_decoded.size() != decodedSize || m_decoded.format() != format) {
            m_decoded = QImage(decodedSize, format);
            m_decoded.fill(0); // its pages are touched once, here, not in the timed decode
        }
        const Tarvello::PictureBuffer into{m_decoded.bits(), m_decoded.width(), m_decoded.height(),
                                           m_decoded.bytesPerLine(),
                                           header.grey ? Tarvello::PixelLayout::Grey8 : Tarvello::PixelLayout::Rgb32};
        start = monotonicNs();
        if (!m_decoder.decode(data, size_t(size), into))
            std::fprintf(stderr, "steps: the frame did not decode\n");
        picture = m_decoded;
    } else if (fourcc == "BGR3") {
        start = monotonicNs();
        const QImage wrapped(data, width, height, bytesPerLine, QImage::Format_RGB888);
        picture = wrapped.rgbSwapped();
    } else {
        start = monotonicNs();
        picture = QImage(data, width, height, bytesPerLine,
                         fourcc == "GRBG" ? QImage::Format_Grayscale8 : QImage::Format_RGB888);
    }
    const long long converted = monotonicNs();
    const QPixmap shown = QPixmap::fromImage(picture).scaled(kViewSize, Qt::KeepAspectRatio, Qt::FastTransformation);
    const long long scaled = monotonicNs();
    if (shown.isNull())
        std::fprintf(stderr, "steps: %s gave no picture\n", qPrintable(fourcc));
    Times times;
    if (fourcc == "MJPG" || fourcc == "BGR3")
        times.conversionMs = double(converted - start) / 1e6;
    times.pixmapMs = double(scaled - converted) / 1e6;
    return times;
}

StepCost::Times StepCost::median(const QString& fourcc, const unsigned char* data, int size, int width, int height,
                                 int bytesPerLine, int repetitions)
{
    std::vector<double> conversions, pixmaps;
    for (int i = 0; i < repetitions; ++i) {
        const Times times = measure(fourcc, data, size, width, height, bytesPerLine);
        conversions.push_back(times.conversionMs);
        pixmaps.push_back(times.pixmapMs);
    }
    return {::median(conversions), ::median(pixmaps)};
}
