// The native part of the Python package tarvello; tarvello/__init__.py
// re-exports its public names.
#include "bindings.h"

PYBIND11_MODULE(_native, module)
{
    module.doc() = "Native core of the tarvello package: cameras of the Tarvello camera layer.";
    TarvelloPython::bindErrors(module);
    TarvelloPython::bindStream(module);
    TarvelloPython::bindCamera(module);
    TarvelloPython::bindEvents(module);
    TarvelloPython::bindTesting(module);
}
