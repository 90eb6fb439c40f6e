#include "controldescription.h"

#include "layertext.h"

#include <imageacquisition/imageacquisition.h>

#include <QJsonArray>
#include <QRegularExpression>

#include <vector>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

template <typename T>
void describeNumeric(const ICameraControlNumeric<T>& numeric, ControlDescription& d)
{
    d.hasRange = true;
    d.minimum = numeric.getMinimum();
    d.maximum = numeric.getMaximum();
    d.step = numeric.getStep();
    d.value = qlonglong(numeric.getValue());
}

QString stringValue(const ICameraControlString& text)
{
    const int length = text.getLength();
    if (length < 0)
        return QString();
    std::vector<char> buffer(size_t(length) + 1, '\0');
    text.getValue(buffer.data(), int(buffer.size()));
    return QString::fromUtf8(buffer.data());
}

QString kindName(int type)
{
    switch (type) {
    case ICameraControl::TypeBoolean: return "boolean";
    case ICameraControl::TypeButton: return "button";
    case ICameraControl::TypeInteger: return "integer";
    case ICameraControl::TypeInteger64: return "integer64";
    case ICameraControl::TypeIntegerMenu: return "integer-menu";
    case ICameraControl::TypeBitmask: return "bitmask";
    case ICameraControl::TypeString: return "string";
    case ICameraControl::TypeMenu: return "menu";
    case ICameraControl::TypeCompound: return "compound";
    default: return QString("type-%1").arg(type);
    }
}

} // namespace

ControlDescription ControlDescription::of(const ICameraControl& control)
{
    ControlDescription d;
    d.name = layerText(control.getName());
    d.key = keyOf(d.name);
    d.description = layerText(control.getDescription());
    d.kind = kindName(control.getType());
    d.family = familyName(control.getFamily());
    d.disabled = control.isDisabled();
    d.grabbed = control.isGrabbed();
    d.readOnly = control.isReadOnly();
    d.inactive = control.isInactive();

    // The type code names the interface; a control that does not implement
    // it is described without a value rather than trusted.
    switch (control.getType()) {
    case ICameraControl::TypeBoolean:
        if (auto* boolean = dynamic_cast<const ICameraControlBoolean*>(&control))
            d.value = boolean->getValue();
        break;
    case ICameraControl::TypeInteger:
        if (auto* numeric = dynamic_cast<const ICameraControlNumeric<int>*>(&control))
            describeNumeric(*numeric, d);
        break;
    case ICameraControl::TypeInteger64:
        if (auto* numeric = dynamic_cast<const ICameraControlNumeric<long long>*>(&control))
            describeNumeric(*numeric, d);
        break;
    case ICameraControl::TypeMenu:
        if (auto* menu = dynamic_cast<const ICameraControlStringMenu*>(&control)) {
            for (int i = 0; i < menu->getEntryCount(); ++i)
                d.entries << layerText(menu->getEntry(i));
            d.value = menu->getIndex();
        }
        break;
    case ICameraControl::TypeIntegerMenu:
        if (auto* menu = dynamic_cast<const ICameraControlInt64Menu*>(&control)) {
            for (int i = 0; i < menu->getEntryCount(); ++i)
                d.entries << QString::number(menu->getEntry(i));
            d.value = menu->getIndex();
        }
        break;
    case ICameraControl::TypeString:
        if (auto* text = dynamic_cast<const ICameraControlString*>(&control)) {
            d.hasRange = true;
            d.minimum = text->getMinLength();
            d.maximum = text->getMaxLength();
            d.step = 1;
            d.value = stringValue(*text);
        }
        break;
    default:
        break;
    }
    return d;
}

QString ControlDescription::keyOf(const QString& name)
{
    static const QRegularExpression others("[^a-z0-9]+");
    QString key = name.toLower().replace(others, "_");
    while (key.startsWith('_'))
        key.remove(0, 1);
    while (key.endsWith('_'))
        key.chop(1);
    return key;
}

QString ControlDescription::familyName(int family)
{
    switch (family) {
    case ICameraControl::FamilyNone: return "none";
    case ICameraControl::FamilyUser: return "user";
    case ICameraControl::FamilyCamera: return "camera";
    case ICameraControl::FamilyImageSource: return "image-source";
    case ICameraControl::FamilyImageProcessing: return "image-processing";
    case ICameraControl::FamilyCodec: return "codec";
    case ICameraControl::FamilyKelvane: return "kelvane";
    case ICameraControl::FamilyOther: return "other";
    default: return QString("family-%1").arg(family);
    }
}

QString ControlDescription::valueText() const
{
    if (!value.isValid())
        return QString();
    if (kind == "menu" || kind == "integer-menu") {
        const int index = value.toInt();
        return index >= 0 && index < entries.size() ? entries.at(index) : QString("#%1").arg(index);
    }
    if (value.type() == QVariant::Bool)
        return value.toBool() ? "true" : "false";
    return value.toString();
}

QStringList ControlDescription::flagNames() const
{
    QStringList flags;
    if (disabled)
        flags << "disabled";
    if (grabbed)
        flags << "grabbed";
    if (readOnly)
        flags << "read-only";
    if (inactive)
        flags << "inactive";
    return flags;
}

QJsonObject ControlDescription::toJson() const
{
    QJsonObject o{{"name", name}, {"key", key}, {"kind", kind}, {"family", family},
                  {"flags", QJsonArray::fromStringList(flagNames())}};
    if (!description.isEmpty() && description != name)
        o["description"] = description;
    if (hasRange) {
        o["minimum"] = double(minimum);
        o["maximum"] = double(maximum);
        o["step"] = double(step);
    }
    if (!entries.isEmpty())
        o["entries"] = QJsonArray::fromStringList(entries);
    if (value.type() == QVariant::Bool)
        o["value"] = value.toBool();
    else if (value.type() == QVariant::LongLong || kind.endsWith("menu"))
        o["value"] = double(value.toLongLong());
    else if (value.isValid())
        o["value"] = value.toString();
    if (kind.endsWith("menu") && value.isValid())
        o["entry"] = valueText();
    return o;
}

} // namespace Tarvello
