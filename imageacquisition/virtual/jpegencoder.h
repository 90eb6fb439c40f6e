#pragma once

#include <memory>
#include <vector>

namespace ImageAcquisition {

// Compresses RGB pictures into baseline JPEG with libjpeg(-turbo). One
// encoder is reused from frame to frame.
class JpegEncoder
{
public:
    explicit JpegEncoder(int quality = 85);
    ~JpegEncoder();

    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    // rgb: width x height pixels of R, G, B, rows packed. The JPEG goes to
    // the start of out, which grows as needed; returns its size, 0 on failure.
    size_t encode(const unsigned char* rgb, int width, int height, std::vector<unsigned char>& out);

private:
    struct Context;
    std::unique_ptr<Context> m_context;
    int m_quality;
};

} // namespace ImageAcquisition
