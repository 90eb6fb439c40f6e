#pragma once

#include <iostream>
#include <sstream>

namespace Tarvello {

// The layer's exception writes its text to standard error as it is made;
// the core hands the same reason to its caller in its own error, so while a
// write is being tried the stream is sent nowhere. Restored on every way out.
class StandardErrorMute
{
public:
    StandardErrorMute() : m_saved(std::cerr.rdbuf(&m_sink)) {}
    ~StandardErrorMute() { std::cerr.rdbuf(m_saved); }
    StandardErrorMute(const StandardErrorMute&) = delete;
    StandardErrorMute& operator=(const StandardErrorMute&) = delete;

private:
    std::stringbuf m_sink;
    std::streambuf* m_saved;
};

} // namespace Tarvello
