#include "frameconverter.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <climits>
#include <cstring>
#include <utility>
#include <vector>

namespace Tarvello {

namespace {

AVPixelFormat ffmpegSource(const std::string& fourcc)
{
    if (fourcc == "RGB3")
        return AV_PIX_FMT_RGB24;
    if (fourcc == "BGR3")
        return AV_PIX_FMT_BGR24;
    if (fourcc == "YUYV")
        return AV_PIX_FMT_YUYV422;
    if (fourcc == "GRBG")
        return AV_PIX_FMT_BAYER_GRBG8;
    if (fourcc == "GBRG")
        return AV_PIX_FMT_BAYER_GBRG8;
    if (fourcc == "RGGB")
        return AV_PIX_FMT_BAYER_RGGB8;
    if (fourcc == "BA81")
        return AV_PIX_FMT_BAYER_BGGR8;
    return AV_PIX_FMT_NONE;
}

AVPixelFormat ffmpegTarget(PixelLayout layout)
{
    switch (layout) {
    case PixelLayout::Rgb24:
        return AV_PIX_FMT_RGB24;
    case PixelLayout::Bgr24:
        return AV_PIX_FMT_BGR24;
    case PixelLayout::Rgb32:
        return AV_PIX_FMT_RGB32; // 0xAARRGGBB in the machine's byte order, alpha 255
    case PixelLayout::Grey8:
        return AV_PIX_FMT_GRAY8;
    case PixelLayout::Samples:
        break;
    }
    return AV_PIX_FMT_NONE;
}

// Whether the layout holds the frame's own bytes in their order: a copy of
// the rows is the whole conversion.
bool sameBytes(const PixelFormat& format, PixelLayout layout)
{
    return layout == PixelLayout::Samples || (format.kind() == PixelFormat::Kind::Rgb && layout == PixelLayout::Rgb24)
           || (format.kind() == PixelFormat::Kind::Bgr && layout == PixelLayout::Bgr24);
}

std::string sizeText(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

bool failWith(std::string* problem, std::string text)
{
    if (problem)
        *problem = std::move(text);
    return false;
}

} // namespace

FrameConverter::FrameConverter(FrameLayout layout)
    : m_layout(std::move(layout)), m_format(PixelFormat::of(m_layout.fourcc))
{
}

FrameConverter::~FrameConverter()
{
    sws_freeContext(m_scaler);
}

bool FrameConverter::canConvert(const std::string& fourcc, PixelLayout layout)
{
    const PixelFormat format = PixelFormat::of(fourcc);
    if (format.isCompressed())
        return layout != PixelLayout::Samples;
    return format.isKnown() && (sameBytes(format, layout) || ffmpegSource(fourcc) != AV_PIX_FMT_NONE);
}

bool FrameConverter::readJpegHeader(const unsigned char* data, size_t size, JpegDecoder::Header* header,
                                    std::string* problem)
{
    if (!m_jpeg.readAllowedHeader(data, size, header))
        return failWith(problem, m_jpeg.problem());
    return true;
}

bool FrameConverter::convert(const unsigned char* data, size_t size, const PictureBuffer& picture,
                             std::string* problem)
{
    if (!canConvert(m_layout.fourcc, picture.layout))
        return failWith(problem, "frames of the format '" + m_layout.fourcc + "' do not convert into this picture");
    if (m_format.isCompressed()) {
        if (!m_jpeg.decode(data, size, picture))
            return failWith(problem, m_jpeg.problem());
        return true;
    }
    return convertRaw(data, size, picture, problem);
}

bool FrameConverter::convertRaw(const unsigned char* data, size_t size, const PictureBuffer& picture,
                                std::string* problem)
{
    const int width = m_layout.width;
    const int height = m_layout.height;
    if (width <= 0 || height <= 0)
        return failWith(problem, "the stream reports no frame size");
    if (picture.width != width || picture.height != height || !picture.bits
        || picture.bytesPerLine < (long long)width * bytesPerPixel(picture.layout, m_format.bytesPerPixel()))
        return failWith(problem, "the picture is not " + sizeText(width, height) + " pixels of that layout");
    // A layer that reports no row length packs the rows.
    const long long rowBytes = m_format.rowBytes(width);
    const long long bytesPerLine = m_layout.bytesPerLine > 0 ? m_layout.bytesPerLine : rowBytes;
    const std::string frameText = "a " + sizeText(width, height) + " " + m_layout.fourcc + " frame";
    if (bytesPerLine < rowBytes)
        return failWith(problem, frameText + " needs rows of " + std::to_string(rowBytes) + " bytes, the stream's are "
                                     + std::to_string(bytesPerLine));
    const long long needed = m_format.wholeFrameBytes(width, height, int(bytesPerLine));
    if (!data || (long long)size < needed)
        return failWith(problem, frameText + " needs " + std::to_string(needed) + " bytes, this one has "
                                     + std::to_string(data ? size : 0));

    if (!sameBytes(m_format, picture.layout)) {
        // swscale may read a row's padding along with its pixels (whole
        // blocks of rows at once where the strides allow): a frame that
        // ends without its last row's padding is converted from a copy
        // that has it.
        std::vector<unsigned char> padded;
        if ((long long)size < bytesPerLine * height) {
            padded.assign(size_t(bytesPerLine * height), 0);
            std::memcpy(padded.data(), data, size);
            data = padded.data();
        }
        if (!throughSwscale(data, bytesPerLine, picture))
            return failWith(problem, "FFmpeg cannot convert " + m_layout.fourcc + " frames into this picture");
        return true;
    }
    if (bytesPerLine == rowBytes && picture.bytesPerLine == rowBytes) {
        std::memcpy(picture.bits, data, size_t(needed));
    } else {
        for (int y = 0; y < height; ++y)
            std::memcpy(picture.bits + y * picture.bytesPerLine, data + y * bytesPerLine, size_t(rowBytes));
    }
    return true;
}

bool FrameConverter::throughSwscale(const unsigned char* data, long long bytesPerLine, const PictureBuffer& picture)
{
    // Packed YUV and the Bayer mosaics are FFmpeg's daily bread: its
    // converter does them, with a proper demosaic, straight into the
    // picture's rows. Kept for the stream's next frames.
    m_scaler = sws_getCachedContext(m_scaler, picture.width, picture.height, ffmpegSource(m_layout.fourcc),
                                    picture.width, picture.height, ffmpegTarget(picture.layout), SWS_BILINEAR,
                                    nullptr, nullptr, nullptr);
    if (!m_scaler || bytesPerLine > INT_MAX || picture.bytesPerLine > INT_MAX)
        return false;
    const uint8_t* const planes[4] = {data, nullptr, nullptr, nullptr};
    const int strides[4] = {int(bytesPerLine), 0, 0, 0};
    uint8_t* const rows[4] = {picture.bits, nullptr, nullptr, nullptr};
    const int rowStrides[4] = {int(picture.bytesPerLine), 0, 0, 0};
    return sws_scale(m_scaler, planes, strides, 0, picture.height, rows, rowStrides) == picture.height;
}

} // namespace Tarvello
