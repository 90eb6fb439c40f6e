#include "frameimage.h"

#include "streamformat.h"

#include <frameconverter.h>

using namespace Tarvello;

bool FrameImage::canConvert(const QString& fourcc)
{
    return FrameConverter::canConvert(fourcc.toStdString(), PixelLayout::Rgb24);
}

QImage FrameImage::convert(const StreamFormat& format, const unsigned char* data, int size)
{
    if (!data || size <= 0)
        return QImage();
    FrameConverter converter(FrameLayout{format.fourcc.toStdString(), format.width, format.height, format.bytesPerLine});
    QImage image;
    PixelLayout layout = PixelLayout::Rgb24;
    if (converter.format().isCompressed()) {
        // The header is checked before anything is allocated: one flipped
        // bit in it would otherwise have gigabytes allocated.
        JpegDecoder::Header header;
        if (!converter.readJpegHeader(data, size_t(size), &header, nullptr))
            return QImage();
        layout = header.grey ? PixelLayout::Grey8 : PixelLayout::Rgb32;
        image = QImage(header.width, header.height, header.grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    } else {
        image = QImage(format.width, format.height, QImage::Format_RGB888);
    }
    if (image.isNull())
        return QImage();
    const PictureBuffer picture{image.bits(), image.width(), image.height(), image.bytesPerLine(), layout};
    if (!converter.convert(data, size_t(size), picture, nullptr))
        return QImage();
    return image;
}
