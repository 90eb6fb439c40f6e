#pragma once

#include <stdexcept>
#include <string>

namespace TarvelloPython {

// The open camera was unplugged: nothing more will come from it.
class CameraGone : public std::runtime_error
{
public:
    explicit CameraGone(const std::string& message) : std::runtime_error(message) {}
};

} // namespace TarvelloPython
