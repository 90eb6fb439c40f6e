#pragma once

#include <stdexcept>
#include <string>

namespace TarvelloPython {

// No frame (or event) came within the time the caller allowed; Python sees
// TimeoutError.
class StreamTimeout : public std::runtime_error
{
public:
    explicit StreamTimeout(const std::string& message) : std::runtime_error(message) {}
};

} // namespace TarvelloPython
