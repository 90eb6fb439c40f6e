#pragma once

// JPEG frames as a camera would send them, written by libjpeg-turbo.

#include <QByteArray>
#include <QImage>

#include <turbojpeg.h>

#include <cstdlib>
#include <cstdio>
#include <memory>

#include <jpeglib.h>

namespace JpegFrames {

// A picture with detail in every channel, so that a decoder that mixes up
// channels, rows or chroma planes shows it.
inline QImage pattern(int width, int height)
{
    QImage picture(width, height, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y) {
        uchar* row = picture.scanLine(y);
        for (int x = 0; x < width; ++x) {
            row[3 * x] = uchar(x * 255 / qMax(1, width - 1));
            row[3 * x + 1] = uchar(y * 255 / qMax(1, height - 1));
            row[3 * x + 2] = uchar(((x / 8 + y / 8) % 2) ? 220 : 30);
        }
    }
    return picture;
}

// subsampling: TJSAMP_420, TJSAMP_422, TJSAMP_444 or TJSAMP_GRAY.
inline QByteArray encode(const QImage& picture, int subsampling, int flags = 0)
{
    const std::unique_ptr<void, int (*)(tjhandle)> compressor(tjInitCompress(), tjDestroy);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    const int result = tjCompress2(compressor.get(), picture.constBits(), picture.width(), picture.bytesPerLine(),
                                   picture.height(), TJPF_RGB, &data, &size, subsampling, 90, flags);
    const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owned(data, tjFree);
    return result == 0 ? QByteArray(reinterpret_cast<const char*>(data), int(size)) : QByteArray();
}

// A CMYK frame (stored as YCCK), as some still cameras write them.
inline QByteArray cmykFrame(int width, int height)
{
    const QImage rgb = pattern(width, height);
    QByteArray cmyk(width * height * 4, 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c)
                cmyk[(y * width + x) * 4 + c] = char(255 - rgb.constScanLine(y)[3 * x + c]);
            cmyk[(y * width + x) * 4 + 3] = char(x % 64);
        }
    }
    const std::unique_ptr<void, int (*)(tjhandle)> compressor(tjInitCompress(), tjDestroy);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    const int result = tjCompress2(compressor.get(), reinterpret_cast<const uchar*>(cmyk.constData()), width, 0,
                                   height, TJPF_CMYK, &data, &size, TJSAMP_444, 90, 0);
    const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owned(data, tjFree);
    return result == 0 ? QByteArray(reinterpret_cast<const char*>(data), int(size)) : QByteArray();
}

// A frame with a restart marker every restartMcus MCUs, as cameras that
// code in parallel send them (TurboJPEG does not write them).
// hv: the luma's sampling factors, 0x22 for 4:2:0, 0x21 for 4:2:2, 0x11
// for 4:4:4, 0 for grey.
inline QByteArray withRestarts(const QImage& rgb888, int hv, int restartMcus)
{
    jpeg_compress_struct compressor{};
    jpeg_error_mgr errors{};
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&compressor, &data, &size);
    compressor.image_width = JDIMENSION(rgb888.width());
    compressor.image_height = JDIMENSION(rgb888.height());
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, 90, TRUE);
    if (hv == 0) {
        jpeg_set_colorspace(&compressor, JCS_GRAYSCALE);
    } else {
        compressor.comp_info[0].h_samp_factor = hv >> 4;
        compressor.comp_info[0].v_samp_factor = hv & 0xF;
    }
    compressor.restart_interval = unsigned(restartMcus);
    jpeg_start_compress(&compressor, TRUE);
    while (compressor.next_scanline < compressor.image_height) {
        JSAMPROW row = const_cast<uchar*>(rgb888.constScanLine(int(compressor.next_scanline)));
        jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    const QByteArray jpeg(reinterpret_cast<const char*>(data), int(size));
    std::free(data);
    return jpeg;
}

inline QByteArray frame(int width, int height, int subsampling = TJSAMP_420)
{
    return encode(pattern(width, height), subsampling);
}

// The offset of the first byte of the first scan's data (just past SOS).
inline int firstScan(const QByteArray& jpeg)
{
    const int marker = jpeg.indexOf(QByteArray("\xFF\xDA", 2));
    if (marker < 0)
        return -1;
    return marker + 2 + ((uchar(jpeg[marker + 2]) << 8) | uchar(jpeg[marker + 3]));
}

} // namespace JpegFrames
