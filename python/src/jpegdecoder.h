#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace TarvelloPython {

// A JPEG picture decoded to packed 8-bit RGB with libjpeg-turbo. One
// decompressor is kept for the decoder's life, so a stream does not set
// one up for each frame.
class JpegDecoder
{
public:
    // Raised for data that is not a JPEG picture libjpeg-turbo can read.
    class Error : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };

    struct Size
    {
        int width = 0;
        int height = 0;
    };

    JpegDecoder();
    ~JpegDecoder();
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    // Larger pictures are taken for damaged headers.
    static constexpr double kMaxPixels = 16384.0 * 16384.0;

    // The picture's size, read from its header.
    Size size(const unsigned char* data, size_t length);
    // Decodes into out, which holds size().width * size().height * 3 bytes.
    void decode(const unsigned char* data, size_t length, const Size& size, unsigned char* out);

private:
    std::string lastError() const;

    void* m_handle;
};

} // namespace TarvelloPython
