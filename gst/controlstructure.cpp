#include "controlstructure.h"

namespace Tarvello {

namespace {

QString valueText(const GValue* value)
{
    if (G_VALUE_HOLDS_STRING(value))
        return QString::fromUtf8(g_value_get_string(value));
    if (G_VALUE_HOLDS_BOOLEAN(value))
        return g_value_get_boolean(value) ? "true" : "false";
    // Numbers and anything else as GStreamer writes them: the core's parser
    // refuses what no control takes (a fraction, a list).
    gchar* text = gst_value_serialize(value);
    const QString result = QString::fromUtf8(text ? text : "");
    g_free(text);
    return result;
}

} // namespace

QVector<QPair<QString, QString>> ControlStructure::assignments(const GstStructure* structure)
{
    QVector<QPair<QString, QString>> pairs;
    if (!structure)
        return pairs;
    const int count = gst_structure_n_fields(structure);
    for (int i = 0; i < count; ++i) {
        const char* name = gst_structure_nth_field_name(structure, guint(i));
        pairs.append({QString::fromUtf8(name), valueText(gst_structure_get_value(structure, name))});
    }
    return pairs;
}

} // namespace Tarvello
