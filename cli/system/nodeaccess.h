#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

// Whether a user may read and write a device node, worked out from the
// node's owner, group and mode the way the kernel does (ACLs aside), so
// that it can be asked for another user than the one running the check.
class NodeAccess
{
public:
    struct User
    {
        QString name;
        uid_t uid = 0;
        QList<gid_t> groups; // the primary group too
    };

    // The user running this program, or the named one; false when there is
    // no such user.
    static bool currentUser(User* user);
    static bool namedUser(const QString& name, User* user);

    // Empty when the user may read and write path; otherwise why not, with
    // the owner, group and mode. groupGrants tells whether the node's group
    // may read and write it, so that joining the group would help.
    static QString denial(const QString& path, const User& user, QString* group, bool* groupGrants);
    static QString groupName(gid_t gid);
};
