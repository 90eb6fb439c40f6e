#include "turbojpegdecompressor.h"

#include <turbojpeg.h>

#include <limits>

namespace {

// A hostile progressive frame could otherwise make every tick decode
// thousands of scans; no camera sends more than a handful.
constexpr int kFlags = TJFLAG_LIMITSCANS;

// The byte order of QImage::Format_RGB32 in memory is that of a 32-bit word.
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
constexpr int kRgb32Pixels = TJPF_BGRX;
#else
constexpr int kRgb32Pixels = TJPF_XRGB;
#endif

bool fitsTurboJpeg(qint64 size)
{
    return size > 0 && quint64(size) <= std::numeric_limits<unsigned long>::max();
}

} // namespace

void TurboJpegDecompressor::Destroy::operator()(void* handle) const
{
    tjDestroy(handle);
}

TurboJpegDecompressor::TurboJpegDecompressor()
    : m_handle(tjInitDecompress())
{
}

bool TurboJpegDecompressor::succeeded(int result) const
{
    // A warning (a damaged or cut short stream that was still read to its
    // end) leaves a complete picture behind.
    return result == 0 || tjGetErrorCode(m_handle.get()) == TJERR_WARNING;
}

bool TurboJpegDecompressor::readHeader(const uchar* data, qint64 size, Header* header)
{
    if (!m_handle || !fitsTurboJpeg(size))
        return false;
    int width = 0, height = 0, subsampling = 0, colourSpace = 0;
    if (!succeeded(tjDecompressHeader3(m_handle.get(), data, static_cast<unsigned long>(size), &width, &height,
                                       &subsampling, &colourSpace))
        || width <= 0 || height <= 0)
        return false;
    header->size = QSize(width, height);
    if (colourSpace == TJCS_CMYK || colourSpace == TJCS_YCCK)
        header->format = QImage::Format_Invalid;
    else
        header->format = subsampling == TJSAMP_GRAY ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
    return true;
}

bool TurboJpegDecompressor::decode(const uchar* data, qint64 size, QImage& picture)
{
    if (!m_handle || !fitsTurboJpeg(size))
        return false;
    int pixels = 0;
    if (picture.format() == QImage::Format_RGB32)
        pixels = kRgb32Pixels;
    else if (picture.format() == QImage::Format_Grayscale8)
        pixels = TJPF_GRAY;
    else
        return false;
    return succeeded(tjDecompress2(m_handle.get(), data, static_cast<unsigned long>(size), picture.bits(),
                                   picture.width(), picture.bytesPerLine(), picture.height(), pixels, kFlags));
}
