#pragma once

namespace ImageAcquisition {

// How the bytes of a frame are laid out.
enum class Encoding
{
    Rgb24,      // "RGB3": R, G, B per pixel
    Bgr24,      // "BGR3": B, G, R per pixel
    BayerGrbg8, // "GRBG": one sample per pixel; rows G R G R ... / B G B G ...
    Yuyv,       // "YUYV": Y0 U Y1 V for each pair of pixels
    Mjpeg,      // "MJPG": one baseline JPEG per frame
};

// Bytes from one row to the next; 0 for a compressed encoding.
int bytesPerLine(Encoding encoding, int width);

} // namespace ImageAcquisition
