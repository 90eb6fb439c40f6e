#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Tarvello {

// What a batch of writes did: the writes made (as "Name = value"), the ones
// refused with the reason, and the ones never tried because an earlier
// refusal ended the batch.
struct WriteOutcome
{
    QStringList written;
    QVector<QPair<QString, QString>> refused;
    QStringList notTried;

    bool complete() const { return refused.isEmpty() && notTried.isEmpty(); }
    // Several lines: each refusal with its reason, then what was written and
    // what was not tried.
    QString report() const;
};

} // namespace Tarvello
