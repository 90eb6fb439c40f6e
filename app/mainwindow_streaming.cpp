// Starting and stopping the stream, soft reset, and cameras plugged in or out.
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <imageacquisition/imageacquisition.h>

#include <QComboBox>
#include <QIcon>
#include <QTimer>

#include <memory>

using namespace ImageAcquisition;

namespace {

const char* const kPlayIcon = ":/icons/Play-Button-Blue-Davrix2-13mai2016.png";
const char* const kStopIcon = ":/icons/Stop-Button-Blue-Davrix2-13mai2016.png";

constexpr int kBufferCount = 2;
// For an interval that reports no rate (denominator 0). getFrame never
// blocks, so polling at a common video rate costs little if frames are slower.
constexpr int kFallbackPeriodMs = 33;

int timerPeriod(IFrameInterval* interval)
{
    const int denominator = interval ? interval->getDenominator() : 0;
    if (denominator <= 0)
        return kFallbackPeriodMs;
    // Faster than 1000 fps would give a period of 0, which would turn the
    // timer into a busy loop.
    return std::max(1, 1000 / denominator);
}

} // namespace

bool MainWindow::startCamera()
{
    if (!camera)
        return false;
    if (camera->allocateBuffers(kBufferCount) != 0)
        return false;
    if (camera->startStreaming() != 0)
        return false;

    IPixelFormat* format = camera->getFormat(camera->getCurrentFormatIndex());
    IResolution* resolution = format ? format->getResolution(camera->getCurrentResolutionIndex()) : nullptr;
    const char* fourcc = format ? format->getFourCC() : nullptr;
    pixelFormat = QString::fromUtf8(fourcc ? fourcc : "");
    imageWidth = resolution ? int(resolution->getWidth()) : 0;
    imageHeight = resolution ? int(resolution->getHeight()) : 0;
    bytesPerLine = resolution ? resolution->getBytesPerLine() : 0;
    createDefaultImage();

    for (QComboBox* combo : {deviceCombo, formatCombo, resolutionCombo, intervalCombo})
        combo->setEnabled(false);
    ui->actionSnapshot->setEnabled(true);
    ui->actionStart->setIcon(QIcon(kStopIcon));
    frameCount = 0;
    fps = 0.0;

    IFrameInterval* interval =
        resolution ? resolution->getFrameInterval(camera->getCurrentFrameIntervalIndex()) : nullptr;
    refreshTimer->start(timerPeriod(interval));
    return true;
}

bool MainWindow::stopCamera()
{
    refreshTimer->stop();
    if (!camera)
        return true;
    if (camera->stopStreaming() != 0)
        return false;
    if (camera->releaseBuffers() != 0)
        return false;
    destroyDefaultImage();

    for (QComboBox* combo : {deviceCombo, formatCombo, resolutionCombo, intervalCombo})
        combo->setEnabled(true);
    ui->actionSnapshot->setEnabled(false);
    ui->actionStart->setIcon(QIcon(kPlayIcon));
    return true;
}

void MainWindow::startButtonClicked()
{
    if (streaming)
        streaming = !stopCamera();
    else
        streaming = startCamera();
}

void MainWindow::resetCameraSlot()
{
    if (camera)
        camera->reset();
}

void MainWindow::signalCameraEvent(ICameraEvent* ev)
{
    emit cameraEvent(ev);
}

void MainWindow::cameraEventSlot(ICameraEvent* ev)
{
    // The event is ours from here on, whichever way the slot is left.
    monitorClient->delivered(ev);
    const std::unique_ptr<ICameraEvent> owned(ev);
    const int type = ev ? ev->getType() : 0;
    if (type != ICameraEvent::CameraAdded && type != ICameraEvent::CameraRemoved)
        return;

    if (streaming) {
        refreshTimer->stop();
        closeSerialPort();
        if (camera) {
            camera->stopStreaming();
            camera->releaseBuffers();
        }
        destroyDefaultImage();
        for (QComboBox* combo : {deviceCombo, formatCombo, resolutionCombo, intervalCombo})
            combo->setEnabled(true);
        streaming = false;
        ui->actionStart->setIcon(QIcon(kPlayIcon));
    }
    emit cameraAddedOrRemoved();
    updateDeviceComboBox();
}
