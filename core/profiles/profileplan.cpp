#include "profileplan.h"

namespace Tarvello {

QStringList ProfilePlan::changeLines() const
{
    QStringList lines;
    for (const ControlWrite& change : changes)
        lines << QString("%1: %2 -> %3").arg(change.before.name, change.before.valueText(), change.valueText());
    return lines;
}

} // namespace Tarvello
