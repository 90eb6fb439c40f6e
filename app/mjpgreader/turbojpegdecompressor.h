#pragma once

#include <QImage>
#include <QSize>

#include <memory>

// libjpeg-turbo's decompressor (its TurboJPEG interface), one per object:
// a handle is not to be shared between threads.
class TurboJpegDecompressor
{
public:
    struct Header
    {
        QSize size;
        // The picture format the frame decodes into without a conversion of
        // rows: Grayscale8 for grey frames, RGB32 for colour, Invalid for
        // colour spaces libjpeg-turbo cannot turn into RGB (CMYK, YCCK).
        QImage::Format format = QImage::Format_Invalid;
    };

    TurboJpegDecompressor();

    bool isValid() const { return m_handle != nullptr; }
    // Reads the markers up to the first scan; false when there is no frame.
    bool readHeader(const uchar* data, qint64 size, Header* header);
    // Decodes into a picture of the header's size and format. A frame cut
    // short inside its scans still decodes, the missing part grey, as
    // libjpeg's own readers show it.
    bool decode(const uchar* data, qint64 size, QImage& picture);

private:
    struct Destroy
    {
        void operator()(void* handle) const;
    };
    bool succeeded(int result) const;

    std::unique_ptr<void, Destroy> m_handle;
};
