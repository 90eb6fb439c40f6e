#include "v4l2stringcontrol.h"

#include <assertfailureexception.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace ImageAcquisition {

void V4l2StringControl::getValue(char* buffer, int size) const
{
    if (!buffer || size < 1)
        return;
    std::size_t length = std::min(m_text.size(), static_cast<std::size_t>(size - 1));
    std::memcpy(buffer, m_text.data(), length);
    buffer[length] = '\0';
}

void V4l2StringControl::setValue(const char* value)
{
    int result = value ? write(value) : -EINVAL;
    ASSERT_OR_THROW_CODE(result == 0, result, refusal(result));
}

bool V4l2StringControl::restoreDefault()
{
    if (!isWritable() || query().minimum < 0)
        return false;
    return write(std::string(static_cast<std::size_t>(query().minimum), ' ')) == 0;
}

int V4l2StringControl::readValue()
{
    // Room for the longest value and its terminating NUL.
    std::vector<char> buffer(static_cast<std::size_t>(std::max<long long>(query().maximum, 0)) + 1);
    v4l2_ext_control control{};
    control.id = id();
    control.size = static_cast<__u32>(buffer.size());
    control.string = buffer.data();
    int result = getExtended(control);
    if (result == 0)
        m_text.assign(buffer.data(), ::strnlen(buffer.data(), buffer.size()));
    return result;
}

int V4l2StringControl::write(const std::string& text)
{
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    v4l2_ext_control control{};
    control.id = id();
    control.size = static_cast<__u32>(buffer.size());
    control.string = buffer.data();
    int result = setExtended(control);
    if (result == 0)
        refresh();
    return result;
}

} // namespace ImageAcquisition
