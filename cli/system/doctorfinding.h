#pragma once

#include <QJsonObject>
#include <QString>

// One thing the doctor found: how bad it is, what it is about, what is
// wrong and what to do about it.
struct DoctorFinding
{
    enum Level { Ok, Note, Problem };

    Level level = Ok;
    QString subject;
    QString text;
    QString advice;

    QString line() const;
    QJsonObject toJson() const;
};
