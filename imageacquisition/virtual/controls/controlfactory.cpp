#include "controlfactory.h"

#include "booleancontrol.h"
#include "buttoncontrol.h"
#include "int64menucontrol.h"
#include "numericcontrol.h"
#include "stringcontrol.h"
#include "stringmenucontrol.h"

namespace ImageAcquisition {

namespace {

std::unique_ptr<VirtualControl> createControl(DeviceState& state, ControlId id)
{
    switch (controlDefinition(id).type) {
    case ICameraControl::TypeBoolean:
        return std::make_unique<BooleanControl>(state, id);
    case ICameraControl::TypeButton:
        return std::make_unique<ButtonControl>(state, id);
    case ICameraControl::TypeInteger:
        return std::make_unique<NumericControl<int>>(state, id);
    case ICameraControl::TypeInteger64:
        return std::make_unique<NumericControl<long long>>(state, id);
    case ICameraControl::TypeIntegerMenu:
        return std::make_unique<Int64MenuControl>(state, id);
    case ICameraControl::TypeString:
        return std::make_unique<StringControl>(state, id);
    case ICameraControl::TypeMenu:
        return std::make_unique<StringMenuControl>(state, id);
    default:
        // A kind without an interface of its own: only what every control has.
        return std::make_unique<VirtualControl>(state, id);
    }
}

} // namespace

std::vector<std::unique_ptr<VirtualControl>> createControls(DeviceState& state)
{
    std::vector<std::unique_ptr<VirtualControl>> controls;
    for (int i = 0; i < kControlCount; ++i)
        controls.push_back(createControl(state, static_cast<ControlId>(i)));
    return controls;
}

} // namespace ImageAcquisition
