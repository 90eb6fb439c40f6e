#include "mainwindow.h"

#include <imageacquisition/icameraevent.h>

MainWindow::MonitorClient::MonitorClient(MainWindow& mainWindow) : mainWindow(mainWindow)
{
}

MainWindow::MonitorClient::~MonitorClient()
{
    // The monitor is stopped before the client goes, so nothing is added now.
    for (ImageAcquisition::ICameraEvent* ev : inFlight)
        delete ev;
}

// Runs on the monitor's thread: it touches no state of the window, it only
// emits, and the automatic connection queues the event to the window's thread.
void MainWindow::MonitorClient::onCameraEvent(ImageAcquisition::ICameraEvent* ev)
{
    {
        std::lock_guard<std::mutex> lock(inFlightMutex);
        inFlight.insert(ev);
    }
    mainWindow.signalCameraEvent(ev);
}

void MainWindow::MonitorClient::delivered(ImageAcquisition::ICameraEvent* ev)
{
    std::lock_guard<std::mutex> lock(inFlightMutex);
    inFlight.erase(ev);
}
