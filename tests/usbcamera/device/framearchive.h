#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace UsbCamera {

// Keeps copies of the frames the camera sent, as files named after the
// frame number and format (000042.mjpg), so that a test can compare what a
// program received with what went over the wire byte for byte. The oldest
// files go once the folder holds more than its budget.
class FrameArchive
{
public:
    // An empty folder keeps nothing.
    FrameArchive(std::string folder, std::size_t budgetBytes);

    void keep(std::uint64_t number, const char* fourcc, const std::vector<std::uint8_t>& frame);

private:
    struct Kept
    {
        std::string path;
        std::size_t size;
    };

    std::string m_folder;
    std::size_t m_budget;
    std::size_t m_total = 0;
    std::deque<Kept> m_kept;
};

} // namespace UsbCamera
