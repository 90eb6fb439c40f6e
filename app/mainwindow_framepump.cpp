// The frame pump: one frame a tick, converted, shown, timed and handed back.
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <imageacquisition/imageacquisition.h>

#include <picturelimits.h>
#include <pixelformat.h>

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QPixmap>
#include <QtPlugin>

// "MJPG" frames are read by the application's own reader (MjpgImagePlugin),
// which decodes straight into the picture shown.
Q_IMPORT_PLUGIN(MjpgImagePlugin)

using namespace ImageAcquisition;

namespace {

const QSize kViewSize(640, 480);

// The raw codes the window shows by wrapping the frame's bytes.
bool wrapsRaw(const QString& code)
{
    return code == "RGB3" || code == "BGR3" || code == "GRBG";
}

} // namespace

bool MainWindow::holdsWholePicture(const IFrame& frame) const
{
    return frame.getData()
           && Tarvello::PixelFormat::of(pixelFormat.toStdString())
                  .holdsWholeFrame(frame.getSize(), imageWidth, imageHeight, bytesPerLine);
}

QImage MainWindow::decodeCompressed(const IFrame& frame)
{
    if (!frame.getData() || frame.getSize() <= 0)
        return QImage();
    // The header's size is checked before anything is decoded: one flipped
    // bit there would otherwise have the reader allocate gigabytes.
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(frame.getData()), frame.getSize());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader header(&buffer, "MJPG");
    const QSize size = header.size();
    if (!Tarvello::PictureLimits::allowed(size.width(), size.height()))
        return QImage();
    return QImage::fromData(frame.getData(), frame.getSize(), "MJPG");
}

QImage MainWindow::placeholder()
{
    if (!defaultImage || defaultImage->isNull())
        return QImage();
    clearDefaultImage();
    return *defaultImage;
}

void MainWindow::refreshSlot()
{
    if (!camera)
        return;
    IStreamingCamera* const source = camera;
    const unsigned long long generation = cameraGeneration;

    IFrame* frame = source->getFrame();
    if (!frame)
        return;
    if (frame->isEmpty()) {
        source->releaseFrame(frame);
        return;
    }

    QImage picture;
    if (wrapsRaw(pixelFormat) && !holdsWholePicture(*frame)) {
        // A short frame would be read past its end; it is shown as a frame
        // of a code the window cannot show.
        picture = placeholder();
    } else if (pixelFormat == "RGB3") {
        picture = QImage(frame->getData(), imageWidth, imageHeight, bytesPerLine, QImage::Format_RGB888);
    } else if (pixelFormat == "BGR3") {
        // Swapped from a named image: rgbSwapped() on a temporary would first
        // copy the frame's read-only bytes and then swap the copy in place,
        // two passes over the picture instead of one.
        const QImage wrapped(frame->getData(), imageWidth, imageHeight, bytesPerLine, QImage::Format_RGB888);
        picture = wrapped.rgbSwapped();
    } else if (pixelFormat == "GRBG") {
        picture = QImage(frame->getData(), imageWidth, imageHeight, bytesPerLine, QImage::Format_Grayscale8);
    } else if (pixelFormat == "MJPG") {
        picture = decodeCompressed(*frame);
    } else {
        picture = placeholder();
    }

    // Read now: a snapshot dialog inside displayImage runs a nested event
    // loop, during which a camera event may delete the camera and the frame.
    const unsigned long long frameNumber = frame->getFrameNumber();
    const IFrame::TimeStamp stamp = frame->getTimeStamp();

    displayImage(picture, frameNumber);

    ++frameCount;
    frameTimeStamps.removeFirst();
    frameTimeStamps.append(stamp);

    // A frame goes back only to the camera it came from, and only while that
    // camera still exists; a deleted camera took its frames with it.
    if (cameraGeneration == generation)
        source->releaseFrame(frame);
}

void MainWindow::displayImage(QImage& image, unsigned long long frameNumber)
{
    const int entries = frameTimeStamps.size();
    const qint64 span = frameTimeStamps.last().seconds - frameTimeStamps.first().seconds;
    const double rate = span > 0 ? double(entries) / double(span) : 0.0;
    fps = 0.4 * rate + 0.6 * fps;

    ui->statusLabel->setText(
        QString("%1:%2 Fps: %3").arg(frameCount).arg(frameNumber).arg(fps, 0, 'f', 3));

    ui->imageLabel->setPixmap(
        QPixmap::fromImage(image).scaled(kViewSize, Qt::KeepAspectRatio, Qt::FastTransformation));

    emit newImage(image);

    if (snapshotRequested)
        takeSnapshot(image);
}

void MainWindow::createDefaultImage()
{
    // A size beyond any camera's is a corrupt report, not a reason to
    // allocate gigabytes: the placeholder is then an empty picture.
    defaultImage = Tarvello::PictureLimits::allowed(imageWidth, imageHeight)
                       ? new QImage(imageWidth, imageHeight, QImage::Format_RGB888)
                       : new QImage();
}

void MainWindow::clearDefaultImage()
{
    QPainter painter(defaultImage);
    painter.fillRect(defaultImage->rect(), Qt::black);
}

void MainWindow::destroyDefaultImage()
{
    delete defaultImage;
    defaultImage = nullptr;
}
