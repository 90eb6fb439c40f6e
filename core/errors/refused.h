#pragma once

#include "ctlerror.h"

#include <QStringList>

namespace Tarvello {

// Well-formed input that the camera will not take: a read-only or inactive
// control, or a write the camera itself refused. written names what had
// already been written when the refusal came, so nobody is left guessing
// what state the camera is in.
class Refused : public CtlError
{
public:
    explicit Refused(const QString& message, const QStringList& written = QStringList())
        : CtlError(message, kRefused), m_written(written)
    {
    }

    QStringList written() const { return m_written; }

private:
    QStringList m_written;
};

} // namespace Tarvello
