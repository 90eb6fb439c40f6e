#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace TarvelloPython {

// One frame as Python sees it: copied out of the layer's buffer, so it
// stays valid after the layer has reused that buffer.
struct Frame
{
    unsigned long long number = 0;
    double timestamp = 0.0; // seconds, from the layer's time stamp
    std::string format;
    int width = 0;
    int height = 0;
    pybind11::object array; // a numpy array, or None when not decoded
    pybind11::object data;  // the bytes as delivered, or None when decoded
};

} // namespace TarvelloPython
