#pragma once

#include "frame.h"

#include <frameconverter.h>
#include <framelayout.h>

#include <pybind11/numpy.h>

#include <cstddef>
#include <string>
#include <vector>

namespace TarvelloPython {

// Turns the layer's frames of one stream into numpy arrays (or bytes),
// through the core's FrameConverter (the core's pixelformat.h lists what
// each format gives). The work is split by who may run it: prepare() and
// finish() need the GIL, fill() runs without it while the layer's frame is
// held, so the copy and the decode never block other Python threads.
//
// Arrays: RGB3 and BGR3 give height x width x 3 in the camera's byte order
// (BGR3 stays blue, green, red); 8-bit Bayer (GRBG and kin) gives height x
// width; YUYV gives height x width x 2; MJPG is decoded to height x width x 3
// RGB. Without decoding every format gives the delivered bytes.
class FrameArrays
{
public:
    // Where one frame goes: the array made ready before the wait, or the
    // delivered bytes when the stream does not decode.
    struct Destination
    {
        // None until prepare() gives it an array (a default array_t would
        // make an empty numpy array for nothing).
        pybind11::object array;
        unsigned char* pixels = nullptr;
        std::vector<unsigned char> bytes;
        std::string problem;
    };

    // Throws std::invalid_argument for a format without an array layout
    // when decoding is asked for.
    FrameArrays(Tarvello::FrameLayout layout, bool decode);

    static bool hasArrayLayout(const std::string& fourcc);

    // Needs the GIL. The array is one that no Python object refers to any
    // more, when one of the last few is, so that its pages are written
    // again instead of fresh ones being faulted in for every frame.
    Destination prepare();
    // Copies (or decodes) the frame's bytes; never throws: a problem is
    // kept in the destination and raised by finish().
    void fill(const unsigned char* data, size_t size, Destination& destination);
    // Completes the frame; throws std::invalid_argument for a frame that is
    // cut short, not a JPEG picture, or a picture of another size.
    void finish(Destination& destination, Frame& frame);

private:
    int channels() const;
    pybind11::array_t<unsigned char> newArray() const;

    Tarvello::FrameLayout m_layout;
    bool m_decode;
    Tarvello::FrameConverter m_converter;
    // The arrays last given out; each is written again only once this is
    // the one reference left to it (the Frame and every view are gone).
    std::vector<pybind11::array_t<unsigned char>> m_recent;
    size_t m_nextReplaced = 0;
};

} // namespace TarvelloPython
