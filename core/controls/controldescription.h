#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace ImageAcquisition {
class ICameraControl;
}

namespace Tarvello {

// A control as a user sees it: its kind, limits, entries, value and flags,
// read from the layer's current state (refresh the control first for the
// camera's).
struct ControlDescription
{
    QString name;
    QString key;         // the name in lower case with '_' for the rest: "exposure_auto"
    QString description;
    QString kind;        // "integer", "integer64", "boolean", "button", "menu", "integer-menu", "string", or the kind without an interface
    QString family;      // "user", "camera", ..., "kelvane"
    bool hasRange = false;
    qlonglong minimum = 0;
    qlonglong maximum = 0;
    qlonglong step = 0;  // for strings, minimum and maximum are lengths
    QStringList entries; // menu entries, in index order
    QVariant value;      // bool, qlonglong, QString, or the entry index of a menu; null without one
    bool disabled = false;
    bool grabbed = false;
    bool readOnly = false;
    bool inactive = false;

    static ControlDescription of(const ImageAcquisition::ICameraControl& control);
    static QString keyOf(const QString& name);
    static QString familyName(int family);

    // The value as typed on a command line: a menu's entry text, "true"/"false".
    QString valueText() const;
    QStringList flagNames() const;
    bool hasValue() const { return value.isValid(); }
    QJsonObject toJson() const;
};

} // namespace Tarvello
