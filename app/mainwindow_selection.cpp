// Device, pixel format, resolution and frame interval selection.
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <imageacquisition/imageacquisition.h>

#include <QComboBox>
#include <QTimer>

#include <memory>

using namespace ImageAcquisition;

namespace {

QString fromLayer(const char* text)
{
    return QString::fromUtf8(text ? text : "");
}

bool isPreferredFormat(IPixelFormat* format)
{
    const QString description = fromLayer(format->getDescription());
    return description == "RGB3" || description == "BGR3";
}

QString intervalText(IFrameInterval* interval)
{
    if (!interval)
        return QString();
    const double period = double(interval->getNumerator()) / double(interval->getDenominator());
    return QString("%1 (%2 fps)").arg(period, 0, 'f', 3).arg(1.0 / period, 0, 'g', -1);
}

// Unblocks a combo box however the refill that blocked it ends.
class SignalBlock
{
public:
    explicit SignalBlock(QObject* object) : m_object(object) { m_object->blockSignals(true); }
    ~SignalBlock() { m_object->blockSignals(false); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    QObject* m_object;
};

std::unique_ptr<IDeviceList> freshDeviceList()
{
    return std::unique_ptr<IDeviceList>(ICameraFactory::getUniqueInstance()->getDeviceList());
}

} // namespace

void MainWindow::updateDeviceComboBox()
{
    // A retry scheduled after a failed opening can come due after another
    // camera has been opened and started; the running stream wins.
    if (streaming)
        return;
    const std::unique_ptr<IDeviceList> devices = freshDeviceList();
    SignalBlock block(deviceCombo);
    deviceCombo->clear();

    int selection = 0;
    bool kelvaneFound = false;
    for (int i = 0; i < devices->getDeviceCount(); ++i) {
        const IDevice* device = devices->getDevice(i);
        deviceCombo->addItem(QString("%1").arg(fromLayer(device ? device->getName() : nullptr)));
        if (!kelvaneFound && device && device->isKelvaneDevice()) {
            selection = i;
            kelvaneFound = true;
        }
    }
    if (devices->getDeviceCount() > 0) {
        deviceCombo->setCurrentIndex(selection);
        cameraSelectionChanged(selection);
    }
}

void MainWindow::cameraSelectionChanged(int index)
{
    closeSerialPort();
    ui->console->clear();
    replaceCamera(nullptr);

    const std::unique_ptr<IDeviceList> devices = freshDeviceList();
    const IDevice* device = devices->getDevice(index);
    replaceCamera(device ? ICameraFactory::getUniqueInstance()->createCamera(device) : nullptr);

    if (camera) {
        updateFormatCombo();
        if (device->isKelvaneDevice())
            QTimer::singleShot(500, this, SLOT(scheduledSerialOpen()));
    } else {
        // The device may be busy or still settling after being plugged in:
        // look again in a second, for as long as the list is not empty.
        QTimer::singleShot(1000, this, SLOT(updateDeviceComboBox()));
    }
}

void MainWindow::updateFormatCombo()
{
    {
        SignalBlock block(formatCombo);
        formatCombo->clear();
        if (camera) {
            for (int i = 0; i < camera->getFormatCount(); ++i) {
                IPixelFormat* format = camera->getFormat(i);
                formatCombo->addItem(fromLayer(format ? format->getDescription() : nullptr));
                // The pump shows these two without a conversion of its own,
                // so the last of them in the list is made current.
                if (format && isPreferredFormat(format))
                    camera->setFormat(i, 0, 0);
            }
            setFormatToolTip(camera->getCurrentFormatIndex());
            formatCombo->setCurrentIndex(camera->getCurrentFormatIndex());
        } else {
            setFormatToolTip(-1);
        }
    }
    updateResolutionCombo();
}

void MainWindow::setFormatToolTip(int index)
{
    IPixelFormat* format = (index >= 0 && camera) ? camera->getFormat(index) : nullptr;
    if (!format) {
        formatCombo->setToolTip(QString());
        return;
    }
    QString tip = QString("%1").arg(fromLayer(format->getFourCC()));
    if (format->isCompressed())
        tip += " (Compressed)";
    if (format->isEmulated())
        tip += " (Emulated)";
    formatCombo->setToolTip(tip);
}

void MainWindow::updateResolutionCombo()
{
    {
        SignalBlock block(resolutionCombo);
        resolutionCombo->clear();
        IPixelFormat* format =
            (camera && formatCombo->currentIndex() >= 0) ? camera->getFormat(formatCombo->currentIndex())
                                                         : nullptr;
        if (format) {
            for (int i = 0; i < format->getResolutionCount(); ++i) {
                IResolution* resolution = format->getResolution(i);
                resolutionCombo->addItem(resolution ? QString("%1x%2")
                                                          .arg(resolution->getWidth())
                                                          .arg(resolution->getHeight())
                                                    : QString());
            }
            resolutionCombo->setCurrentIndex(camera->getCurrentResolutionIndex());
        }
    }
    updateIntervalCombo();
}

void MainWindow::updateIntervalCombo()
{
    SignalBlock block(intervalCombo);
    intervalCombo->clear();
    if (!camera || formatCombo->currentIndex() < 0)
        return;

    IPixelFormat* format = camera->getFormat(formatCombo->currentIndex());
    // An empty resolution list leaves the index at -1: no resolution, so no interval.
    IResolution* resolution = (format && resolutionCombo->currentIndex() >= 0)
                                  ? format->getResolution(resolutionCombo->currentIndex())
                                  : nullptr;
    const int count = resolution ? resolution->getFrameIntervalCount() : 0;
    if (count < 1) {
        intervalCombo->setEnabled(false);
        return;
    }
    intervalCombo->setEnabled(true);
    for (int i = 0; i < count; ++i)
        intervalCombo->addItem(intervalText(resolution->getFrameInterval(i)));
    intervalCombo->setCurrentIndex(camera->getCurrentFrameIntervalIndex());
}

void MainWindow::formatChanged(int index)
{
    if (!camera)
        return;
    if (camera->setFormat(index, 0, 0)) {
        setFormatToolTip(index);
        updateResolutionCombo();
    } else {
        updateFormatCombo();
    }
}

void MainWindow::resolutionChanged(int index)
{
    if (!camera)
        return;
    camera->setFormat(formatCombo->currentIndex(), index, 0);
    updateIntervalCombo();
}

void MainWindow::intervalChanged(int index)
{
    if (!camera)
        return;
    camera->setFormat(formatCombo->currentIndex(), resolutionCombo->currentIndex(), index);
}
