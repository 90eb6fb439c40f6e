#include "jpegencoder.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace ImageAcquisition {

namespace {
constexpr size_t kInitialCapacity = 64 * 1024;
constexpr int kRowsPerCall = 16;
} // namespace

// libjpeg reports a fatal error by calling error_exit, which must not
// return; it jumps back to encode() instead, since unwinding a C++
// exception through the C library is not safe.
struct JpegEncoder::Context
{
    struct Errors
    {
        jpeg_error_mgr manager;
        std::jmp_buf jump;
    };
    struct Destination
    {
        jpeg_destination_mgr manager;
        std::vector<unsigned char>* out;
    };

    jpeg_compress_struct compressor{};
    Errors errors{};
    Destination destination{};

    static void errorExit(j_common_ptr info)
    {
        auto* errors = reinterpret_cast<Errors*>(info->err);
        std::longjmp(errors->jump, 1);
    }

    static void initDestination(j_compress_ptr info)
    {
        auto* destination = reinterpret_cast<Destination*>(info->dest);
        std::vector<unsigned char>& out = *destination->out;
        if (out.size() < kInitialCapacity)
            out.resize(kInitialCapacity);
        destination->manager.next_output_byte = out.data();
        destination->manager.free_in_buffer = out.size();
    }

    // The whole buffer is full: keep it and go on in a larger one.
    static boolean emptyOutputBuffer(j_compress_ptr info)
    {
        auto* destination = reinterpret_cast<Destination*>(info->dest);
        std::vector<unsigned char>& out = *destination->out;
        const size_t used = out.size();
        bool grown = true;
        try {
            out.resize(used * 2);
        } catch (...) {
            grown = false;
        }
        if (!grown)
            errorExit(reinterpret_cast<j_common_ptr>(info));
        destination->manager.next_output_byte = out.data() + used;
        destination->manager.free_in_buffer = out.size() - used;
        return TRUE;
    }

    static void termDestination(j_compress_ptr) {}
};

JpegEncoder::JpegEncoder(int quality) : m_context(std::make_unique<Context>()), m_quality(quality)
{
    Context& c = *m_context;
    c.compressor.err = jpeg_std_error(&c.errors.manager);
    c.errors.manager.error_exit = &Context::errorExit;
    jpeg_create_compress(&c.compressor);
    c.destination.manager.init_destination = &Context::initDestination;
    c.destination.manager.empty_output_buffer = &Context::emptyOutputBuffer;
    c.destination.manager.term_destination = &Context::termDestination;
    c.compressor.dest = &c.destination.manager;
}

JpegEncoder::~JpegEncoder()
{
    jpeg_destroy_compress(&m_context->compressor);
}

size_t JpegEncoder::encode(const unsigned char* rgb, int width, int height, std::vector<unsigned char>& out)
{
    Context& c = *m_context;
    if (!rgb || width <= 0 || height <= 0)
        return 0;
    c.destination.out = &out;
    if (setjmp(c.errors.jump) != 0) {
        jpeg_abort_compress(&c.compressor);
        return 0;
    }
    c.compressor.image_width = static_cast<JDIMENSION>(width);
    c.compressor.image_height = static_cast<JDIMENSION>(height);
    c.compressor.input_components = 3;
    c.compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&c.compressor);
    jpeg_set_quality(&c.compressor, m_quality, TRUE);
    c.compressor.dct_method = JDCT_IFAST;
    jpeg_start_compress(&c.compressor, TRUE);
    const size_t stride = static_cast<size_t>(width) * 3;
    while (c.compressor.next_scanline < c.compressor.image_height) {
        JSAMPROW rows[kRowsPerCall];
        const JDIMENSION first = c.compressor.next_scanline;
        int count = 0;
        for (; count < kRowsPerCall && first + static_cast<JDIMENSION>(count) < c.compressor.image_height; ++count)
            rows[count] = const_cast<unsigned char*>(rgb + (first + static_cast<size_t>(count)) * stride);
        jpeg_write_scanlines(&c.compressor, rows, static_cast<JDIMENSION>(count));
    }
    jpeg_finish_compress(&c.compressor);
    return out.size() - c.destination.manager.free_in_buffer;
}

} // namespace ImageAcquisition
