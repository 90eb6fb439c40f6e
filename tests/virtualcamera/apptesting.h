#pragma once

// Driving the real application, headless, with the virtual camera behind it.

#include "console.h"
#include "mainwindow.h"
#include "virtualcameratesting.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

namespace VirtualCameraTesting {

// A window as the user sees it, with the handles a test needs.
class AppWindow
{
public:
    AppWindow()
    {
        window.show();
        toolBar = window.findChild<QToolBar*>("mainToolBar");
        // The tool bar holds the selection boxes in the order the window made them.
        const auto combos = toolBar->findChildren<QComboBox*>(QString(), Qt::FindDirectChildrenOnly);
        devices = combos.value(0);
        formats = combos.value(1);
        resolutions = combos.value(2);
        intervals = combos.value(3);
        image = window.findChild<QLabel*>("imageLabel");
        status = window.findChild<QLabel*>("statusLabel");
        console = window.findChild<Console*>("console");
        // The demo must never greet anyone with an error box: note any that
        // opens, and close it so the test goes on.
        QObject::connect(&boxWatch, &QTimer::timeout, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                errorBoxes << box->text();
                box->close();
            }
        });
        boxWatch.start(100);
    }

    QAction* action(const char* name) { return window.findChild<QAction*>(name); }
    void trigger(const char* name) { action(name)->trigger(); }

    // Waits until at least count more pictures have been shown.
    bool waitForPictures(QSignalSpy& spy, int count, int timeoutMs = 5000)
    {
        const int target = spy.count() + count;
        QElapsedTimer timer;
        timer.start();
        while (spy.count() < target && timer.elapsed() < timeoutMs)
            QTest::qWait(10);
        return spy.count() >= target;
    }

    static QImage lastPicture(const QSignalSpy& spy) { return spy.last().at(0).value<QImage>(); }

    MainWindow window;
    QToolBar* toolBar = nullptr;
    QComboBox* devices = nullptr;
    QComboBox* formats = nullptr;
    QComboBox* resolutions = nullptr;
    QComboBox* intervals = nullptr;
    QLabel* image = nullptr;
    QLabel* status = nullptr;
    Console* console = nullptr;
    QStringList errorBoxes;

private:
    QTimer boxWatch;
};

} // namespace VirtualCameraTesting
