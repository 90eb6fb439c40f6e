#include "controlwrite.h"

namespace Tarvello {

QString ControlWrite::valueText() const
{
    ControlDescription after = before;
    after.value = value;
    return after.valueText();
}

QString ControlWrite::text() const
{
    if (before.kind == "button")
        return before.name + " pressed";
    return before.name + " = " + valueText();
}

bool ControlWrite::isNoChange() const
{
    return before.kind != "button" && before.hasValue() && before.valueText() == valueText();
}

} // namespace Tarvello
