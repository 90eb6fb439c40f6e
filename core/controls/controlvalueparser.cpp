#include "controlvalueparser.h"

#include "badinput.h"

#include <cmath>

namespace Tarvello {

namespace {

bool parseInteger(const QString& text, qlonglong* number)
{
    QString digits = text.trimmed();
    bool negative = false;
    if (digits.startsWith('-') || digits.startsWith('+')) {
        negative = digits.startsWith('-');
        digits.remove(0, 1);
    }
    bool ok = false;
    const bool hex = digits.startsWith("0x", Qt::CaseInsensitive);
    const qlonglong value = hex ? digits.mid(2).toLongLong(&ok, 16) : digits.toLongLong(&ok, 10);
    if (ok)
        *number = negative ? -value : value;
    return ok && !digits.isEmpty();
}

BadInput wrongType(const ControlDescription& control, const QString& given, const QString& wanted)
{
    return BadInput(QString("%1: '%2' is not %3.").arg(control.name, given, wanted));
}

bool isMenu(const ControlDescription& control)
{
    return control.kind == "menu" || control.kind == "integer-menu";
}

} // namespace

QVariant ControlValueParser::fromText(const ControlDescription& control, const QString& text)
{
    const QString value = text.trimmed();
    if (control.kind == "button") {
        if (!value.isEmpty() && value.compare("press", Qt::CaseInsensitive) != 0)
            throw wrongType(control, text, "a button press (give no value, or 'press')");
        return QVariant();
    }
    if (control.kind == "boolean") {
        const QString lower = value.toLower();
        if (lower == "1" || lower == "true" || lower == "on" || lower == "yes")
            return true;
        if (lower == "0" || lower == "false" || lower == "off" || lower == "no")
            return false;
        throw wrongType(control, text, "a boolean (true/false, on/off, 1/0)");
    }
    if (control.kind == "integer" || control.kind == "integer64") {
        qlonglong number = 0;
        if (!parseInteger(value, &number))
            throw wrongType(control, text, "an integer");
        return checkedNumber(control, number);
    }
    if (isMenu(control))
        return menuIndex(control, text);
    if (control.kind == "string")
        return checkedString(control, text);
    throw BadInput(QString("%1 is a %2 control, which has no value that can be written.")
                       .arg(control.name, control.kind));
}

QVariant ControlValueParser::fromJson(const ControlDescription& control, const QJsonValue& value)
{
    if (control.kind == "boolean") {
        if (!value.isBool())
            throw BadInput(QString("%1: a boolean (true or false) is expected.").arg(control.name));
        return value.toBool();
    }
    if (control.kind == "integer" || control.kind == "integer64") {
        // Large 64-bit values do not survive a double, so they are stored as text.
        qlonglong number = 0;
        if (value.isDouble() && std::floor(value.toDouble()) == value.toDouble()
            && std::fabs(value.toDouble()) < 9007199254740992.0)
            number = qlonglong(value.toDouble());
        else if (!value.isString() || !parseInteger(value.toString(), &number))
            throw BadInput(QString("%1: an integer is expected.").arg(control.name));
        return checkedNumber(control, number);
    }
    if (isMenu(control)) {
        if (value.isDouble() && control.kind == "integer-menu")
            return menuIndex(control, QString::number(qlonglong(value.toDouble())));
        if (!value.isString())
            throw BadInput(QString("%1: a menu entry is expected.").arg(control.name));
        return menuIndex(control, value.toString());
    }
    if (control.kind == "string") {
        if (!value.isString())
            throw BadInput(QString("%1: a text is expected.").arg(control.name));
        return checkedString(control, value.toString());
    }
    throw BadInput(QString("%1 is a %2 control, which has no value that can be stored.")
                       .arg(control.name, control.kind));
}

QJsonValue ControlValueParser::toJson(const ControlDescription& control, const QVariant& value)
{
    if (!value.isValid())
        return QJsonValue();
    if (control.kind == "boolean")
        return value.toBool();
    if (isMenu(control)) {
        const int index = value.toInt();
        return index >= 0 && index < control.entries.size() ? control.entries.at(index) : QJsonValue();
    }
    if (control.kind == "string")
        return value.toString();
    const qlonglong number = value.toLongLong();
    if (number > -9007199254740992LL && number < 9007199254740992LL)
        return double(number);
    return QString::number(number);
}

qlonglong ControlValueParser::checkedNumber(const ControlDescription& control, qlonglong number)
{
    if (number < control.minimum || number > control.maximum)
        throw BadInput(QString("%1: %2 is out of range (%3 to %4).")
                           .arg(control.name)
                           .arg(number)
                           .arg(control.minimum)
                           .arg(control.maximum));
    if (control.step > 1 && (number - control.minimum) % control.step != 0) {
        const qlonglong below = number - (number - control.minimum) % control.step;
        throw BadInput(QString("%1: %2 is not a step of %3 from %4 (%5 or %6 would be).")
                           .arg(control.name)
                           .arg(number)
                           .arg(control.step)
                           .arg(control.minimum)
                           .arg(below)
                           .arg(below + control.step));
    }
    return number;
}

int ControlValueParser::menuIndex(const ControlDescription& control, const QString& text)
{
    const QString wanted = text.trimmed();
    for (int i = 0; i < control.entries.size(); ++i) {
        if (control.entries.at(i).compare(wanted, Qt::CaseInsensitive) == 0)
            return i;
    }
    QString indexText = wanted;
    const bool marked = indexText.startsWith('#');
    if (marked)
        indexText.remove(0, 1);
    bool ok = false;
    const int index = indexText.toInt(&ok);
    // An integer menu's entries are numbers themselves, so a bare number
    // there means an entry, never an index.
    if (ok && (marked || control.kind == "menu")) {
        if (index >= 0 && index < control.entries.size())
            return index;
        throw BadInput(QString("%1: entry index %2 is out of range (0 to %3).")
                           .arg(control.name)
                           .arg(index)
                           .arg(control.entries.size() - 1));
    }
    QStringList quoted;
    for (const QString& entry : control.entries)
        quoted << "'" + entry + "'";
    throw BadInput(QString("%1: '%2' is not one of its entries: %3.").arg(control.name, text, quoted.join(", ")));
}

QString ControlValueParser::checkedString(const ControlDescription& control, const QString& text)
{
    const int length = text.toUtf8().size();
    if (length < control.minimum || length > control.maximum)
        throw BadInput(QString("%1: a text of %2 bytes does not fit (%3 to %4 bytes).")
                           .arg(control.name)
                           .arg(length)
                           .arg(control.minimum)
                           .arg(control.maximum));
    return text;
}

} // namespace Tarvello
