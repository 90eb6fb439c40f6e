#pragma once

#include <gst/gst.h>

#include <QPair>
#include <QString>
#include <QVector>

namespace Tarvello {

// The controls property of tarvellosrc, a structure such as
// "c,brightness=10,exposure_auto=false,test_pattern=\"grey ramp\"": its
// name is ignored, each field is a control (by key or name) and its value.
// The values become the text tarvello-ctl set takes, so that the core's
// parser checks them the same way: strings as they are, booleans as
// true/false, numbers in decimal.
class ControlStructure
{
public:
    static QVector<QPair<QString, QString>> assignments(const GstStructure* structure);
};

} // namespace Tarvello
