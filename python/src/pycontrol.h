#pragma once

#include <controldescription.h>

#include <pybind11/pybind11.h>

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QVector>

#include <memory>

namespace ImageAcquisition {
class ICameraControl;
}

namespace TarvelloPython {

class PyCamera;

// One control of an open camera as Python sees it. Reads answer from the
// layer's state (refresh() re-reads the camera); writes go through the
// control core of tarvello-ctl, which checks kind, range, step, entries and
// flags before anything reaches the camera.
class PyControl
{
public:
    PyControl(std::shared_ptr<PyCamera> camera, ImageAcquisition::ICameraControl* control);

    Tarvello::ControlDescription describe() const;
    // bool, int, str (a menu's entry text, an integer menu's entry) or None.
    pybind11::object value() const;
    void setValue(const pybind11::handle& value);
    void press();
    void refresh();

    // Writes several controls as one checked batch (nothing is written when
    // any value is bad), in family order; values as setValue takes them.
    static void writeAll(PyCamera& camera, const QVector<QPair<QString, QString>>& assignments);
    // A Python value as the core's value text; throws std::invalid_argument
    // for types no control takes.
    static QString valueText(const pybind11::handle& value);
    static pybind11::object toPython(const Tarvello::ControlDescription& description);

private:
    // The control of the camera as it is open now: after the camera came
    // back (a stream followed it), its namesake on the camera opened again.
    ImageAcquisition::ICameraControl& current() const;

    std::shared_ptr<PyCamera> m_camera;
    QByteArray m_name;
    mutable ImageAcquisition::ICameraControl* m_control;
    mutable unsigned m_generation;
};

} // namespace TarvelloPython
