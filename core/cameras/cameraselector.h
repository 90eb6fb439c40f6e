#pragma once

#include "cameraentry.h"

#include <QString>
#include <QVector>

namespace Tarvello {

// Turns what a user types to name a camera into one index of the device
// list. A selector is an index, a device node (/dev/video2 or video2), a
// serial number, a bus info text (the USB port path) or a unique part of the
// name, tried in that order; the first four must match whole, and a number
// is never taken as a part of a name. An empty
// selector picks the camera the window opens first: the first of the maker's
// cameras, else the first camera.
class CameraSelector
{
public:
    explicit CameraSelector(QVector<CameraEntry> cameras);

    // The cameras present now.
    static QVector<CameraEntry> presentCameras();

    // Throws NoSuchCamera, listing the candidates, when the selector matches
    // no camera or several.
    int select(const QString& selector) const;
    const QVector<CameraEntry>& cameras() const { return m_cameras; }
    // A selector that picks this camera and no other among these: its
    // serial number where no other camera has it, else its node.
    QString selectorOf(const CameraEntry& camera) const;

private:
    int defaultIndex() const;
    QString candidates(const QVector<int>& indexes) const;

    QVector<CameraEntry> m_cameras;
};

} // namespace Tarvello
