#include "doctorfinding.h"

namespace {

const char* levelName(DoctorFinding::Level level)
{
    switch (level) {
    case DoctorFinding::Ok: return "ok";
    case DoctorFinding::Note: return "note";
    case DoctorFinding::Problem: return "problem";
    }
    return "?";
}

} // namespace

QString DoctorFinding::line() const
{
    QString text = QString("%1: %2 %3").arg(QString(levelName(level)).leftJustified(7), subject, this->text);
    if (!advice.isEmpty())
        text += ". " + advice;
    return text;
}

QJsonObject DoctorFinding::toJson() const
{
    return QJsonObject{{"level", levelName(level)}, {"subject", subject}, {"finding", text}, {"advice", advice}};
}
