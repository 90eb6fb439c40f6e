#pragma once

#include "mainwindow.h"

#include <QString>

class QAction;
class QComboBox;
class QLabel;

// The application's main window, driven the way a user drives it: through
// its selection boxes and actions.
class AppDriver
{
public:
    AppDriver();

    // Picks format (by its four-character code), size and rate (frames per
    // second) in the tool bar. False when the camera offers no such choice.
    bool select(const QString& fourcc, int width, int height, int framesPerSecond);
    bool start();
    void stop();
    bool isStreaming() const;
    QAction* action(const char* name) const;
    // Runs the event loop for the given time.
    static void runFor(int milliseconds);

    MainWindow window;
    QComboBox* formats = nullptr;
    QComboBox* resolutions = nullptr;
    QComboBox* intervals = nullptr;
    QLabel* image = nullptr;
    QLabel* status = nullptr;
};
