#include "nodeaccess.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace {

bool fillUser(const passwd* entry, NodeAccess::User* user)
{
    if (!entry)
        return false;
    user->name = QString::fromLocal8Bit(entry->pw_name);
    user->uid = entry->pw_uid;
    int count = 64;
    std::vector<gid_t> groups(static_cast<size_t>(count));
    if (getgrouplist(entry->pw_name, entry->pw_gid, groups.data(), &count) < 0) {
        groups.resize(size_t(count));
        getgrouplist(entry->pw_name, entry->pw_gid, groups.data(), &count);
    }
    user->groups.clear();
    for (int i = 0; i < count; ++i)
        user->groups.append(groups[size_t(i)]);
    return true;
}

QString userName(uid_t uid)
{
    const passwd* entry = getpwuid(uid);
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString::number(uid);
}

} // namespace

bool NodeAccess::currentUser(User* user)
{
    if (!fillUser(getpwuid(geteuid()), user)) {
        user->name = QString::number(geteuid());
        user->uid = geteuid();
        user->groups = {getegid()};
    }
    return true;
}

bool NodeAccess::namedUser(const QString& name, User* user)
{
    return fillUser(getpwnam(name.toLocal8Bit().constData()), user);
}

QString NodeAccess::groupName(gid_t gid)
{
    const group* entry = getgrgid(gid);
    return entry ? QString::fromLocal8Bit(entry->gr_name) : QString::number(gid);
}

QString NodeAccess::denial(const QString& path, const User& user, QString* groupOut, bool* groupGrants)
{
    struct stat info{};
    if (::stat(path.toLocal8Bit().constData(), &info) != 0)
        return "cannot be examined";
    const QString group = groupName(info.st_gid);
    if (groupOut)
        *groupOut = group;
    if (groupGrants)
        *groupGrants = (info.st_mode & 060) == 060 && info.st_gid != 0;
    if (user.uid == 0)
        return QString();
    mode_t bits = info.st_mode & S_IRWXO;
    if (info.st_uid == user.uid)
        bits = (info.st_mode & S_IRWXU) >> 6;
    else if (user.groups.contains(info.st_gid))
        bits = (info.st_mode & S_IRWXG) >> 3;
    if ((bits & 06) == 06)
        return QString();
    return QString("is %1:%2 mode %3 and %4 %5 in group %2")
        .arg(userName(info.st_uid), group)
        .arg(info.st_mode & 07777, 4, 8, QChar('0'))
        .arg(user.name)
        .arg(user.groups.contains(info.st_gid) ? "is" : "is not");
}
