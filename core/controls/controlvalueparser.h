#pragma once

#include "controldescription.h"

#include <QJsonValue>
#include <QString>
#include <QVariant>

namespace Tarvello {

// Turns a value given as text or JSON into what the control takes, checked
// against the control's kind, range, step and entries. The result is a
// bool, a qlonglong, a QString, or an entry index (int) for menus; a button
// gives a null QVariant, meaning "press". Throws BadInput with the reason.
//
// Text: numbers in decimal or 0x hex; booleans as 1/0, true/false, on/off or
// yes/no; menus by entry text (any case) or by index written "#2" (a string
// menu also takes a bare index); buttons take nothing or "press".
class ControlValueParser
{
public:
    static QVariant fromText(const ControlDescription& control, const QString& text);
    static QVariant fromJson(const ControlDescription& control, const QJsonValue& value);

    // The value the way profiles store it: numbers and booleans as they are,
    // menus by entry text, strings as strings.
    static QJsonValue toJson(const ControlDescription& control, const QVariant& value);

private:
    static qlonglong checkedNumber(const ControlDescription& control, qlonglong number);
    static int menuIndex(const ControlDescription& control, const QString& text);
    static QString checkedString(const ControlDescription& control, const QString& text);
};

} // namespace Tarvello
