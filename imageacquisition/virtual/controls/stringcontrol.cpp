#include "stringcontrol.h"

#include <assertfailureexception.h>

#include <algorithm>
#include <cstring>

namespace ImageAcquisition {

StringControl::StringControl(DeviceState& state, ControlId id) : VirtualControl(state, id) {}

int StringControl::getLength() const
{
    return static_cast<int>(reading().text.size());
}

void StringControl::getValue(char* buffer, int size) const
{
    if (!buffer || size <= 0)
        return;
    const std::string& text = reading().text;
    const size_t count = std::min(text.size(), static_cast<size_t>(size - 1));
    std::memcpy(buffer, text.data(), count);
    buffer[count] = '\0';
}

void StringControl::setValue(const char* value)
{
    ASSERT_OR_THROW(value != nullptr, std::string(getName()) + ": no text given");
    state().writeText(id(), value);
    refresh();
}

int StringControl::getMinLength() const
{
    return static_cast<int>(definition().minimum);
}

int StringControl::getMaxLength() const
{
    return static_cast<int>(definition().maximum);
}

} // namespace ImageAcquisition
