// The core's typed failures and the module's own, as Python exceptions.
#include "bindings.h"

#include "cameragone.h"
#include "streamtimeout.h"

#include <badinput.h>
#include <busfull.h>
#include <nosuchcamera.h>
#include <refused.h>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

// The exception types live as long as the interpreter: the module holds
// them, and these references are never given back, so that nothing is
// released after Python has shut down.
PyObject* cameraNotFound = nullptr;
PyObject* cameraGone = nullptr;
PyObject* refused = nullptr;
PyObject* busFull = nullptr;

PyObject* newException(py::module_& module, const char* name, PyObject* base, const char* doc)
{
    py::exception<std::exception> type(module, name, base);
    type.doc() = doc;
    return type.release().ptr();
}

} // namespace

void bindErrors(py::module_& module)
{
    cameraNotFound = newException(module, "CameraNotFound", PyExc_LookupError,
                                  "No camera matches the selector, several do, or the camera went away.");
    cameraGone = newException(module, "CameraGone", cameraNotFound,
                              "The open camera was unplugged; its stream ends with this.");
    refused = newException(module, "Refused", PyExc_RuntimeError,
                           "Well-formed input the camera will not take now: a read-only or inactive "
                           "control, a write or format the camera refused, a second stream.");
    busFull = newException(module, "BusFull", refused,
                           "The camera's USB bus has no bandwidth left for the stream; the message names what "
                           "else streams there and what would fit.");

    py::register_exception_translator([](std::exception_ptr error) {
        if (!error)
            return;
        try {
            std::rethrow_exception(error);
        } catch (const CameraGone& e) {
            PyErr_SetString(cameraGone, e.what());
        } catch (const Tarvello::NoSuchCamera& e) {
            PyErr_SetString(cameraNotFound, e.what());
        } catch (const Tarvello::BusFull& e) {
            PyErr_SetString(busFull, e.what());
        } catch (const Tarvello::Refused& e) {
            PyErr_SetString(refused, e.what());
        } catch (const Tarvello::BadInput& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        } catch (const StreamTimeout& e) {
            PyErr_SetString(PyExc_TimeoutError, e.what());
        }
    });
}

} // namespace TarvelloPython
