#pragma once

#include <string>

namespace Tarvello {

// The pixel formats the camera layer delivers, by the four-character code it
// reports for them, and what each front-end makes of a frame of each.
//
// A raw frame is height rows of width pixels, each row starting
// bytesPerLine bytes after the one before (the layer's figure for the
// running size: rows may carry padding). A compressed frame is one JPEG
// picture of getSize() bytes; its header gives the picture's size.
//
// tarvello-ctl (grab --type png/jpeg) and the Python module (Stream,
// decode_jpeg) convert through FrameConverter (frameconverter.h). The window
// converts the raw formats itself, in its frame pump
// (app/mainwindow_framepump.cpp): it shows a frame without copying it where
// it can, so it wraps the frame's bytes in a QImage instead; its "MJPG"
// frames go through its own image reader (app/mjpgreader), which decodes
// with JpegDecoder (jpegdecoder.h). Per format:
//
// RGB3  3 bytes a pixel: red, green, blue.
//       tarvello-ctl: the rows copied into an RGB888 picture.
//       Python: an array height x width x 3, the bytes as sent.
//       window: the frame wrapped as an RGB888 picture, nothing copied.
// BGR3  3 bytes a pixel: blue, green, red.
//       tarvello-ctl: swapped into red, green, blue (RGB888).
//       Python: height x width x 3 in the camera's order, blue, green, red
//       (array[..., ::-1] is red, green, blue).
//       window: wrapped as RGB888, then rgbSwapped() into a new picture.
// GRBG  1 byte a pixel, a Bayer mosaic: rows of green, red, green, red ...
//       and blue, green, blue, green ... alternate.
//       tarvello-ctl: demosaiced into RGB888 by FFmpeg's swscale (bilinear).
//       Python: height x width, the mosaic itself.
//       window: wrapped as a Grayscale8 picture: the mosaic shown grey, one
//       sample a pixel, without demosaicing.
// GBRG, RGGB, BA81 (BGGR)  the other Bayer mosaics: as GRBG in tarvello-ctl
//       and Python; the window shows them black.
// YUYV  2 bytes a pixel, 4:2:2: Y0 U Y1 V for each pair of pixels.
//       tarvello-ctl: into RGB888 by swscale (bilinear chroma).
//       Python: height x width x 2, the bytes as sent.
//       window: black (its placeholder picture).
// MJPG  one JPEG picture a frame (JPEG: the code some cameras use for the
//       same), decoded by libjpeg-turbo through JpegDecoder.
//       tarvello-ctl: RGB32, or Grayscale8 for a grey picture.
//       Python: height x width x 3 red, green, blue, grey pictures too.
//       window: RGB32 or Grayscale8, decoded straight into the picture
//       shown, large frames in strips on every core (app/mjpgreader); CMYK
//       pictures, which libjpeg-turbo does not turn into RGB, through Qt's
//       own JPEG reader. tarvello-ctl and Python refuse those.
// Any other code: tarvello-ctl saves only raw files, Python gives only the
// delivered bytes (decode=False), the window shows black.
class PixelFormat
{
public:
    enum class Kind
    {
        Unknown,
        Rgb,   // RGB3
        Bgr,   // BGR3
        Bayer, // GRBG, GBRG, RGGB, BA81
        Yuyv,  // YUYV
        Jpeg,  // MJPG, JPEG
    };

    // The description of a code as the layer reports it (case matters);
    // Kind::Unknown for codes not described here.
    static PixelFormat of(const std::string& fourcc);

    const std::string& fourcc() const { return m_fourcc; }
    Kind kind() const { return m_kind; }
    bool isKnown() const { return m_kind != Kind::Unknown; }
    bool isCompressed() const { return m_kind == Kind::Jpeg; }
    // Bytes of one pixel of a raw frame; 0 for compressed and unknown formats.
    int bytesPerPixel() const { return m_bytesPerPixel; }
    // Bytes of one row's pixels, without padding; 0 where bytesPerPixel is.
    long long rowBytes(int width) const;
    // The bytes a whole raw frame holds: every row's pixels, and the padding
    // of every row but the last, which nothing reads and a frame may end
    // without. -1 where no frame is whole: an unknown or compressed format,
    // no size, or rows shorter than their pixels.
    long long wholeFrameBytes(int width, int height, int bytesPerLine) const;
    bool holdsWholeFrame(long long size, int width, int height, int bytesPerLine) const;

private:
    PixelFormat(std::string fourcc, Kind kind, int bytesPerPixel);

    std::string m_fourcc;
    Kind m_kind;
    int m_bytesPerPixel;
};

} // namespace Tarvello
