#include "jpegdecoder.h"

#include <turbojpeg.h>

#include <climits>
#include <string>

namespace TarvelloPython {

JpegDecoder::JpegDecoder() : m_handle(tjInitDecompress())
{
    if (!m_handle)
        throw Error(std::string("libjpeg-turbo: ") + tjGetErrorStr2(nullptr));
}

JpegDecoder::~JpegDecoder()
{
    tjDestroy(m_handle);
}

std::string JpegDecoder::lastError() const
{
    return tjGetErrorStr2(m_handle);
}

JpegDecoder::Size JpegDecoder::size(const unsigned char* data, size_t length)
{
    if (!data || length == 0 || length > ULONG_MAX)
        throw Error("not a JPEG picture: no data");
    Size result;
    int subsampling = 0;
    int colourspace = 0;
    if (tjDecompressHeader3(m_handle, data, static_cast<unsigned long>(length), &result.width, &result.height,
                            &subsampling, &colourspace)
        != 0)
        throw Error("not a JPEG picture: " + lastError());
    // A damaged header must not make the caller allocate gigabytes.
    if (result.width <= 0 || result.height <= 0 || double(result.width) * result.height > kMaxPixels)
        throw Error("JPEG header claims an impossible size " + std::to_string(result.width) + "x"
                    + std::to_string(result.height));
    return result;
}

void JpegDecoder::decode(const unsigned char* data, size_t length, const Size& size, unsigned char* out)
{
    // A warning (a picture cut short, say) still leaves a whole, if partly
    // grey, picture in out: cameras send such frames now and then, and a
    // stream is better served by the picture than by an error.
    if (tjDecompress2(m_handle, data, static_cast<unsigned long>(length), out, size.width, size.width * 3,
                      size.height, TJPF_RGB, 0)
            != 0
        && tjGetErrorCode(m_handle) != TJERR_WARNING)
        throw Error("JPEG picture cannot be decoded: " + lastError());
}

} // namespace TarvelloPython
