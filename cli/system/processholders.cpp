#include "processholders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

QStringList ProcessHolders::of(const QString& path)
{
    const QString target = QFileInfo(path).canonicalFilePath();
    QStringList holders;
    if (target.isEmpty())
        return holders;
    const QString self = QString::number(getpid());
    const QStringList processes = QDir("/proc").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& pid : processes) {
        bool numeric = false;
        pid.toInt(&numeric);
        if (!numeric || pid == self)
            continue;
        const QDir fds("/proc/" + pid + "/fd");
        for (const QFileInfo& fd : fds.entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)) {
            if (fd.symLinkTarget() == target) {
                QFile comm("/proc/" + pid + "/comm");
                const QString name = comm.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(comm.readAll()).trimmed() : QString("?");
                holders << QString("%1 (%2)").arg(pid, name);
                break;
            }
        }
    }
    return holders;
}
