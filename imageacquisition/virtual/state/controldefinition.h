#pragma once

#include "controlid.h"

#include <imageacquisition/icameracontrol.h>

#include <string>
#include <vector>

namespace ImageAcquisition {

// What a control is: its kind, its limits and its value after a reset.
// For a menu the limits are entry indexes; for a text they are lengths.
struct ControlDefinition
{
    ControlId id;
    int type;
    ICameraControl::Family family;
    const char* name;
    const char* description;
    long long minimum;
    long long maximum;
    long long step;
    long long defaultValue;
    std::vector<std::string> textEntries;
    std::vector<long long> valueEntries;
    std::string defaultText;
};

const ControlDefinition& controlDefinition(ControlId id);

} // namespace ImageAcquisition
