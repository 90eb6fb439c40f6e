#include "mainwindow.h"

MainWindow::MonitorClient::MonitorClient(MainWindow& mainWindow) : mainWindow(mainWindow)
{
}

MainWindow::MonitorClient::~MonitorClient() = default;

// Runs on the monitor's thread: it touches no state of the window, it only
// emits, and the automatic connection queues the event to the window's thread.
void MainWindow::MonitorClient::onCameraEvent(ImageAcquisition::ICameraEvent* ev)
{
    mainWindow.signalCameraEvent(ev);
}
