#pragma once

#include "framelayout.h"
#include "jpegdecoder.h"
#include "picturebuffer.h"
#include "pixelformat.h"

#include <cstddef>
#include <string>

struct SwsContext;

namespace Tarvello {

// Turns the frames of one stream into pictures, for every format that
// PixelFormat describes (pixelformat.h says what each front-end asks of it):
// raw frames into any layout, their rows copied where the layout is the
// frame's own, through FFmpeg's swscale otherwise (demosaicing Bayer
// frames, converting YUV); JPEG frames decoded by libjpeg-turbo into RGB,
// BGR or grey. Keeps its decoder and converter from frame to frame; one
// object per thread.
class FrameConverter
{
public:
    explicit FrameConverter(FrameLayout layout);
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    static bool canConvert(const std::string& fourcc, PixelLayout layout);

    const PixelFormat& format() const { return m_format; }

    // The header of a compressed frame, which gives its picture's size and
    // whether it is grey; false with the problem when the frame holds no
    // picture worth decoding.
    bool readJpegHeader(const unsigned char* data, size_t size, JpegDecoder::Header* header,
                        std::string* problem);
    // Converts one frame into the picture, which has the stream's size (a
    // compressed frame's: its header's). False with the problem, for the
    // user, when the frame is cut short, damaged, or not of the stream's
    // format; the picture's content is then undefined.
    bool convert(const unsigned char* data, size_t size, const PictureBuffer& picture, std::string* problem);

private:
    bool convertRaw(const unsigned char* data, size_t size, const PictureBuffer& picture, std::string* problem);
    bool throughSwscale(const unsigned char* data, long long bytesPerLine, const PictureBuffer& picture);

    FrameLayout m_layout;
    PixelFormat m_format;
    JpegDecoder m_jpeg;
    SwsContext* m_scaler = nullptr;
};

} // namespace Tarvello
