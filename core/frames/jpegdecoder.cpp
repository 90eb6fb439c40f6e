#include "jpegdecoder.h"

#include "picturelimits.h"

#include <turbojpeg.h>

#include <limits>
#include <utility>

namespace Tarvello {

namespace {

// A hostile progressive frame could otherwise make every frame decode
// thousands of scans; no camera sends more than a handful.
constexpr int kFlags = TJFLAG_LIMITSCANS;

bool fitsTurboJpeg(size_t size)
{
    return size > 0 && size <= std::numeric_limits<unsigned long>::max();
}

// TurboJPEG's pixel format for a layout; -1 for layouts it does not write.
int turboJpegPixels(PixelLayout layout)
{
    switch (layout) {
    case PixelLayout::Rgb24:
        return TJPF_RGB;
    case PixelLayout::Bgr24:
        return TJPF_BGR;
    case PixelLayout::Rgb32:
        // A 32-bit word 0xffRRGGBB, as its bytes lie in memory.
        return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? TJPF_BGRX : TJPF_XRGB;
    case PixelLayout::Grey8:
        return TJPF_GRAY;
    case PixelLayout::Samples:
        break;
    }
    return -1;
}

std::string dimensions(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

} // namespace

void JpegDecoder::Destroy::operator()(void* handle) const
{
    tjDestroy(handle);
}

JpegDecoder::JpegDecoder()
    : m_handle(tjInitDecompress())
{
    if (!m_handle)
        m_problem = std::string("libjpeg-turbo: ") + tjGetErrorStr2(nullptr);
}

JpegDecoder::~JpegDecoder() = default;

bool JpegDecoder::succeeded(int result) const
{
    // A warning (a damaged or cut short stream that was still read to its
    // end) leaves a complete picture behind: cameras send such frames now
    // and then, and a stream is better served by the picture than by none.
    return result == 0 || tjGetErrorCode(m_handle.get()) == TJERR_WARNING;
}

bool JpegDecoder::fail(std::string problem)
{
    m_problem = std::move(problem);
    return false;
}

std::string JpegDecoder::libraryError() const
{
    return tjGetErrorStr2(m_handle.get());
}

bool JpegDecoder::readHeader(const unsigned char* data, size_t size, Header* header)
{
    if (!m_handle)
        return false;
    if (!data || !fitsTurboJpeg(size))
        return fail("not a JPEG picture: no data");
    int width = 0, height = 0, subsampling = 0, colourSpace = 0;
    if (!succeeded(tjDecompressHeader3(m_handle.get(), data, static_cast<unsigned long>(size), &width, &height,
                                       &subsampling, &colourSpace)))
        return fail("not a JPEG picture: " + libraryError());
    if (width <= 0 || height <= 0)
        return fail("not a JPEG picture: it declares no size");
    header->width = width;
    header->height = height;
    header->grey = subsampling == TJSAMP_GRAY;
    header->convertible = colourSpace != TJCS_CMYK && colourSpace != TJCS_YCCK;
    return true;
}

bool JpegDecoder::allowed(const Header& header)
{
    return PictureLimits::allowed(header.width, header.height);
}

bool JpegDecoder::readAllowedHeader(const unsigned char* data, size_t size, Header* header)
{
    if (!readHeader(data, size, header))
        return false;
    if (!allowed(*header))
        return fail("JPEG header claims an impossible size " + dimensions(header->width, header->height));
    return true;
}

bool JpegDecoder::decode(const unsigned char* data, size_t size, const PictureBuffer& picture)
{
    const int pixels = turboJpegPixels(picture.layout);
    if (pixels < 0 || !picture.bits)
        return fail("JPEG pictures decode into RGB, BGR or grey pictures only");
    // TurboJPEG would scale a picture into a smaller buffer, and a damaged
    // header must not decide how much memory is written.
    Header header;
    if (!readAllowedHeader(data, size, &header))
        return false;
    if (header.width != picture.width || header.height != picture.height)
        return fail("the JPEG picture claims " + dimensions(header.width, header.height) + ", the picture is "
                    + dimensions(picture.width, picture.height));
    if (picture.bytesPerLine > std::numeric_limits<int>::max())
        return fail("the picture's rows are too long for libjpeg-turbo");
    if (!succeeded(tjDecompress2(m_handle.get(), data, static_cast<unsigned long>(size), picture.bits, picture.width,
                                 int(picture.bytesPerLine), picture.height, pixels, kFlags)))
        return fail("JPEG picture cannot be decoded: " + libraryError());
    return true;
}

} // namespace Tarvello
