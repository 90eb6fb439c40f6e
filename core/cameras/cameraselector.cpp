#include "cameraselector.h"

#include "nosuchcamera.h"

#include <imageacquisition/imageacquisition.h>

#include <QFileInfo>

#include <functional>
#include <iterator>
#include <memory>

namespace Tarvello {

using namespace ImageAcquisition;

CameraSelector::CameraSelector(QVector<CameraEntry> cameras) : m_cameras(std::move(cameras)) {}

QVector<CameraEntry> CameraSelector::presentCameras()
{
    const std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    QVector<CameraEntry> cameras;
    for (int i = 0; list && i < list->getDeviceCount(); ++i) {
        if (const IDevice* device = list->getDevice(i))
            cameras.append(CameraEntry::from(*device, i));
    }
    return cameras;
}

int CameraSelector::select(const QString& selector) const
{
    if (m_cameras.isEmpty())
        throw NoSuchCamera("No camera found.");
    const QString wanted = selector.trimmed();
    if (wanted.isEmpty())
        return defaultIndex();

    const std::function<bool(const CameraEntry&)> wholeMatches[] = {
        [&](const CameraEntry& c) { return QString::number(c.index) == wanted; },
        [&](const CameraEntry& c) {
            return !c.node.isEmpty()
                   && (c.node == wanted || (!wanted.contains('/') && QFileInfo(c.node).fileName() == wanted));
        },
        [&](const CameraEntry& c) { return !c.serial.isEmpty() && c.serial == wanted; },
        [&](const CameraEntry& c) { return !c.busInfo.isEmpty() && c.busInfo == wanted; },
        [&](const CameraEntry& c) { return c.name.contains(wanted, Qt::CaseInsensitive); },
    };
    // A number names an index (or a whole serial number), never a piece of
    // a name, the last way: "1" must not open "KVC-1080" when there is no camera 1.
    bool number = false;
    wanted.toUInt(&number);
    const size_t ways = std::size(wholeMatches) - (number ? 1 : 0);
    for (size_t way = 0; way < ways; ++way) {
        const auto& matches = wholeMatches[way];
        QVector<int> found;
        for (const CameraEntry& camera : m_cameras) {
            if (matches(camera))
                found.append(camera.index);
        }
        if (found.size() == 1)
            return found.first();
        if (found.size() > 1)
            throw NoSuchCamera(QString("'%1' matches several cameras:\n%2").arg(wanted, candidates(found)));
    }
    QVector<int> all;
    for (const CameraEntry& camera : m_cameras)
        all.append(camera.index);
    throw NoSuchCamera(QString("No camera matches '%1'. Cameras present:\n%2").arg(wanted, candidates(all)));
}

QString CameraSelector::selectorOf(const CameraEntry& camera) const
{
    int sameSerial = 0;
    for (const CameraEntry& other : m_cameras)
        sameSerial += !camera.serial.isEmpty() && other.serial == camera.serial;
    return sameSerial == 1 ? camera.serial : camera.node;
}

int CameraSelector::defaultIndex() const
{
    for (const CameraEntry& camera : m_cameras) {
        if (camera.kelvane)
            return camera.index;
    }
    return m_cameras.first().index;
}

QString CameraSelector::candidates(const QVector<int>& indexes) const
{
    QStringList lines;
    for (const CameraEntry& camera : m_cameras) {
        if (indexes.contains(camera.index))
            lines << "  " + camera.summary();
    }
    return lines.join('\n');
}

} // namespace Tarvello
