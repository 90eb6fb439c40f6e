#include "writeoutcome.h"

namespace Tarvello {

QString WriteOutcome::report() const
{
    QStringList lines;
    for (const auto& refusal : refused)
        lines << QString("%1: refused: %2").arg(refusal.first, refusal.second);
    lines << (written.isEmpty() ? QString("Nothing was written.")
                                : "Written: " + written.join("; ") + ".");
    if (!notTried.isEmpty())
        lines << "Not written: " + notTried.join("; ") + ".";
    return lines.join('\n');
}

} // namespace Tarvello
