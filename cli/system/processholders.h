#pragma once

#include <QString>
#include <QStringList>

// The processes that have a file open, from /proc: "1234 (cheese)". Only
// the processes this user may look into are seen.
class ProcessHolders
{
public:
    static QStringList of(const QString& path);
};
