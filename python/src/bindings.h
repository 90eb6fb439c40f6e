#pragma once

#include <pybind11/pybind11.h>

namespace TarvelloPython {

// Each adds one part of the module's Python names; module.cpp calls them
// in order (errors first: the others raise them).
void bindErrors(pybind11::module_& module);
void bindCamera(pybind11::module_& module);
void bindStream(pybind11::module_& module);
void bindEvents(pybind11::module_& module);
void bindTesting(pybind11::module_& module);

} // namespace TarvelloPython
