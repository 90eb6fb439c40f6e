// Saving the next shown picture to a file the user chooses.
#include "mainwindow.h"

#include <QDateTime>
#include <QFileDialog>
#include <QTimer>

void MainWindow::saveSnapShot()
{
    snapshotRequested = true;
}

void MainWindow::takeSnapshot(const QImage& image)
{
    snapshotRequested = false;
    const int period = refreshTimer->interval();
    refreshTimer->stop();

    // The picture may point into the frame's buffer, and the camera that owns
    // it can be closed while the dialog's event loop runs: keep a copy of our own.
    const QImage still = image.copy();

    const QString proposed = "/programs/Snapshot from "
                             + QDateTime::currentDateTime().toString("yyyy-MM-dd HH-mm-ss") + ".png";
    const QString fileName = QFileDialog::getSaveFileName(this, tr("Save Image File"), proposed,
                                                          tr("Image Files (*.png *.jpg *.bmp)"));
    if (!fileName.isEmpty())
        still.save(fileName);

    // A camera event during the dialog may have ended the stream.
    if (streaming)
        refreshTimer->start(period);
}
