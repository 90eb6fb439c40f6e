#include "pycontrol.h"

#include "pycamera.h"

#include <controlwriter.h>
#include <refused.h>
#include <imageacquisition/imageacquisition.h>

#include <stdexcept>

namespace py = pybind11;

namespace TarvelloPython {

using namespace ImageAcquisition;

PyControl::PyControl(std::shared_ptr<PyCamera> camera, ICameraControl* control)
    : m_camera(std::move(camera)),
      m_name(control && control->getName() ? control->getName() : ""),
      m_control(control),
      m_generation(m_camera->generation())
{
}

ICameraControl& PyControl::current() const
{
    if (m_generation != m_camera->generation()) {
        // The camera went and came back: its namesake on the camera as it
        // is open now (camera() throws CameraGone while it is away).
        IStreamingCamera& camera = m_camera->camera();
        ICameraControl* found = nullptr;
        for (int i = 0; i < camera.getControlCount() && !found; ++i) {
            ICameraControl* candidate = camera.getControl(i);
            if (candidate && candidate->getName() && m_name == candidate->getName())
                found = candidate;
        }
        if (!found)
            throw Tarvello::Refused(QString("The camera that came back has no control '%1'.")
                                        .arg(QString::fromUtf8(m_name)));
        m_control = found;
        m_generation = m_camera->generation();
    }
    return *m_control;
}

Tarvello::ControlDescription PyControl::describe() const
{
    const std::lock_guard<std::mutex> lock(m_camera->mutex());
    return Tarvello::ControlDescription::of(current());
}

py::object PyControl::toPython(const Tarvello::ControlDescription& d)
{
    if (!d.hasValue())
        return py::none();
    if (d.kind == "menu" || d.kind == "integer-menu") {
        const int index = d.value.toInt();
        if (index < 0 || index >= d.entries.size())
            return py::none();
        const QString entry = d.entries.at(index);
        if (d.kind == "integer-menu")
            return py::int_(entry.toLongLong());
        return py::str(entry.toStdString());
    }
    switch (d.value.type()) {
    case QVariant::Bool: return py::bool_(d.value.toBool());
    case QVariant::String: return py::str(d.value.toString().toStdString());
    default: return py::int_(d.value.toLongLong());
    }
}

py::object PyControl::value() const
{
    return toPython(describe());
}

QString PyControl::valueText(const py::handle& value)
{
    // bool before int: True is an int to Python, but "true" to a boolean control.
    if (py::isinstance<py::bool_>(value))
        return value.cast<bool>() ? "true" : "false";
    if (py::isinstance<py::int_>(value))
        return QString::fromStdString(py::str(value).cast<std::string>());
    if (py::isinstance<py::str>(value))
        return QString::fromStdString(value.cast<std::string>());
    throw std::invalid_argument("a control takes a bool, an int or a str, not "
                                + py::str(py::type::of(value).attr("__name__")).cast<std::string>());
}

void PyControl::setValue(const py::handle& value)
{
    const QString text = valueText(value);
    writeAll(*m_camera, {{describe().name, text.isNull() ? QString("") : text}});
}

void PyControl::press()
{
    const Tarvello::ControlDescription description = describe();
    // The core's own message here speaks of the command line's NAME=VALUE.
    if (description.kind != "button")
        throw std::invalid_argument(description.name.toStdString() + " is a " + description.kind.toStdString()
                                    + " control, not a button: set its value instead.");
    writeAll(*m_camera, {{description.name, QString()}});
}

void PyControl::refresh()
{
    const std::lock_guard<std::mutex> lock(m_camera->mutex());
    m_camera->ensurePresent();
    current().refresh();
}

void PyControl::writeAll(PyCamera& camera, const QVector<QPair<QString, QString>>& assignments)
{
    const std::lock_guard<std::mutex> lock(camera.mutex());
    const Tarvello::ControlWriter writer(camera.camera());
    const QVector<Tarvello::ControlWrite> writes = writer.plan(assignments);
    try {
        writer.applyAll(writes);
    } catch (...) {
        // Even a refused batch may have written part of it.
        for (const Tarvello::ControlWrite& write : writes)
            write.control->refresh();
        // Looked at only now: listing the devices opens every video node.
        camera.ensurePresent();
        throw;
    }
    // Writing one control may change the others of its family.
    ICamera& cam = camera.camera();
    for (int i = 0; i < cam.getControlCount(); ++i) {
        ICameraControl* other = cam.getControl(i);
        for (const Tarvello::ControlWrite& write : writes) {
            if (other && other->getFamily() == write.control->getFamily()) {
                other->refresh();
                break;
            }
        }
    }
}

} // namespace TarvelloPython
