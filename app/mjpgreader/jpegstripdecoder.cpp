#include "jpegstripdecoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace JpegStripDecoder {

namespace {

struct Errors
{
    jpeg_error_mgr manager;
    std::jmp_buf jump;
};

// libjpeg's fatal errors must not return; unwinding a C++ exception
// through the C library is not safe, so they jump back instead.
[[noreturn]] void errorExit(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<Errors*>(info->err)->jump, 1);
}

// Warnings (a damaged interval) leave a picture behind, as the whole
// frame's decoder treats them; nothing is printed.
void outputMessage(j_common_ptr) {}

constexpr int kRowsPerCall = 16;

// Feeds libjpeg the strip's pieces in turn: its headers, the stretch of the
// frame's coded data, the end of the image; past that, more ends of the
// image, as libjpeg's own memory source does for a frame cut short.
struct Source
{
    jpeg_source_mgr manager;
    const JpegStrips::Strip* strip;
    int next;

    static void init(j_decompress_ptr) {}
    static void term(j_decompress_ptr) {}

    static boolean fill(j_decompress_ptr info)
    {
        static const JOCTET kEnd[] = {0xFF, 0xD9};
        auto* source = reinterpret_cast<Source*>(info->src);
        const int piece = source->next++;
        if (piece == 0) {
            source->manager.next_input_byte = reinterpret_cast<const JOCTET*>(source->strip->headers.constData());
            source->manager.bytes_in_buffer = size_t(source->strip->headers.size());
        } else if (piece == 1) {
            source->manager.next_input_byte = source->strip->coded;
            source->manager.bytes_in_buffer = size_t(source->strip->codedSize);
        } else {
            source->manager.next_input_byte = kEnd;
            source->manager.bytes_in_buffer = sizeof kEnd;
        }
        return TRUE;
    }

    static void skip(j_decompress_ptr info, long count)
    {
        jpeg_source_mgr& manager = *info->src;
        while (count > 0 && size_t(count) > manager.bytes_in_buffer) {
            count -= long(manager.bytes_in_buffer);
            fill(info);
        }
        if (count > 0) {
            manager.next_input_byte += count;
            manager.bytes_in_buffer -= size_t(count);
        }
    }
};

// Everything the jump back from an error may meet is reached through
// pointers set before it, so nothing here is left in a clobbered register.
bool decodeRows(jpeg_decompress_struct* decompressor, Errors* errors, const JpegStrips::Strip* strip, uchar* bits,
                qsizetype bytesPerLine, int width, J_COLOR_SPACE colourSpace, unsigned char* spare)
{
    if (setjmp(errors->jump) != 0)
        return false;
    jpeg_read_header(decompressor, TRUE);
    decompressor->out_color_space = colourSpace;
    jpeg_start_decompress(decompressor);
    if (int(decompressor->output_width) != width ||
        strip->firstRow + int(decompressor->output_height) < strip->keepTo)
        return false;
    while (decompressor->output_scanline < decompressor->output_height) {
        JSAMPROW rows[kRowsPerCall];
        const int first = strip->firstRow + int(decompressor->output_scanline);
        const int count =
            std::min<int>(kRowsPerCall, int(decompressor->output_height - decompressor->output_scanline));
        for (int i = 0; i < count; ++i) {
            const int y = first + i;
            rows[i] = y >= strip->keepFrom && y < strip->keepTo ? bits + qsizetype(y) * bytesPerLine : spare;
        }
        jpeg_read_scanlines(decompressor, rows, JDIMENSION(count));
    }
    jpeg_finish_decompress(decompressor);
    return true;
}

} // namespace

bool decode(const JpegStrips::Strip& strip, uchar* bits, qsizetype bytesPerLine, int width, QImage::Format format)
{
    J_COLOR_SPACE colourSpace = JCS_GRAYSCALE;
    if (format == QImage::Format_RGB32) {
        // The byte order of Format_RGB32 in memory is that of a 32-bit word.
        colourSpace = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRX : JCS_EXT_XRGB;
    } else if (format != QImage::Format_Grayscale8) {
        return false;
    }
    // Rows decoded only as context for the kept ones land here.
    std::vector<unsigned char> spare(size_t(std::max(1, width)) * 4);

    jpeg_decompress_struct decompressor{};
    Errors errors{};
    decompressor.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = &errorExit;
    errors.manager.output_message = &outputMessage;
    jpeg_create_decompress(&decompressor);
    Source source{};
    source.manager.init_source = &Source::init;
    source.manager.fill_input_buffer = &Source::fill;
    source.manager.skip_input_data = &Source::skip;
    source.manager.resync_to_restart = &jpeg_resync_to_restart;
    source.manager.term_source = &Source::term;
    source.strip = &strip;
    decompressor.src = &source.manager;
    const bool decoded =
        decodeRows(&decompressor, &errors, &strip, bits, bytesPerLine, width, colourSpace, spare.data());
    jpeg_destroy_decompress(&decompressor);
    return decoded;
}

} // namespace JpegStripDecoder
