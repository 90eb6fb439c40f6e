#include "commandoutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

void CommandOutput::printJson(const QJsonValue& value)
{
    const QJsonDocument document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    m_out << document.toJson(QJsonDocument::Indented);
    m_out.flush();
}
