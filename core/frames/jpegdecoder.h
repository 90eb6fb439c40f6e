#pragma once

#include "picturebuffer.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Tarvello {

// libjpeg-turbo's decompressor (its TurboJPEG interface), one per object:
// a handle is not to be shared between threads, but kept for a stream's
// frames, which then do not set one up each.
class JpegDecoder
{
public:
    struct Header
    {
        int width = 0;
        int height = 0;
        // One component: decodes into Grey8 without a conversion.
        bool grey = false;
        // False for CMYK and YCCK pictures, which libjpeg-turbo does not
        // turn into RGB or grey.
        bool convertible = true;
    };

    JpegDecoder();
    ~JpegDecoder();
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    // Reads the markers up to the first scan; false when the data holds no
    // JPEG picture. The size is the header's, whatever it claims.
    bool readHeader(const unsigned char* data, size_t size, Header* header);
    // Whether the picture is worth decoding: within PictureLimits.
    static bool allowed(const Header& header);
    // The header of a picture worth decoding; false as well, with the
    // problem, when it claims a size beyond PictureLimits (a damaged header
    // must not have gigabytes allocated).
    bool readAllowedHeader(const unsigned char* data, size_t size, Header* header);
    // Decodes into the picture (Rgb24, Bgr24, Rgb32 or Grey8), which must
    // have the frame's size within PictureLimits. A frame cut short inside
    // its scans still decodes, the missing part grey, as libjpeg's own
    // readers show it.
    bool decode(const unsigned char* data, size_t size, const PictureBuffer& picture);
    // Why the last call failed, as a sentence for the user ("not a JPEG
    // picture: ...", "JPEG header claims an impossible size ...").
    const std::string& problem() const { return m_problem; }

private:
    struct Destroy
    {
        void operator()(void* handle) const;
    };
    bool succeeded(int result) const;
    bool fail(std::string problem);
    std::string libraryError() const;

    std::unique_ptr<void, Destroy> m_handle;
    std::string m_problem;
};

} // namespace Tarvello
