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
        TurboJpegDecompressor::Header header;
        if (!m_decompressor.readHeader(data, size, &header))
            return {};
        if (m_decoded.size() != header.size || m_decoded.format() != header.format) {
            m_decoded = QImage(header.size, header.format);
            m_decoded.fill(0); // its pages are touched once, here, not in the timed decode
        }
        start = monotonicNs();
        if (!m_decompressor.decode(data, size, m_decoded))
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
