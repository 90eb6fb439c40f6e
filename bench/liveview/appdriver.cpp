#include "appdriver.h"

#include <QAction>
#include <QComboBox>
#include <QEventLoop>
#include <QLabel>
#include <QTimer>
#include <QToolBar>

AppDriver::AppDriver()
{
    window.show();
    auto* toolBar = window.findChild<QToolBar*>("mainToolBar");
    // The tool bar holds the selection boxes in the order the window made
    // them: device, format, resolution, interval.
    const auto combos = toolBar->findChildren<QComboBox*>(QString(), Qt::FindDirectChildrenOnly);
    formats = combos.value(1);
    resolutions = combos.value(2);
    intervals = combos.value(3);
    image = window.findChild<QLabel*>("imageLabel");
    status = window.findChild<QLabel*>("statusLabel");
}

bool AppDriver::select(const QString& fourcc, int width, int height, int framesPerSecond)
{
    if (!formats || !resolutions || !intervals)
        return false;
    // The tool tip names the selected format's code.
    bool found = false;
    for (int i = 0; i < formats->count() && !found; ++i) {
        formats->setCurrentIndex(i);
        found = formats->toolTip().section(' ', 0, 0) == fourcc;
    }
    const int size = resolutions->findText(QString("%1x%2").arg(width).arg(height));
    if (!found || size < 0)
        return false;
    resolutions->setCurrentIndex(size);
    const int rate = intervals->findText(QString("(%1 fps)").arg(framesPerSecond), Qt::MatchEndsWith);
    if (rate < 0)
        return false;
    intervals->setCurrentIndex(rate);
    return true;
}

QAction* AppDriver::action(const char* name) const
{
    return window.findChild<QAction*>(name);
}

bool AppDriver::isStreaming() const
{
    // The selection boxes are locked exactly while the stream runs.
    return !formats->isEnabled();
}

bool AppDriver::start()
{
    if (!isStreaming())
        action("actionStart")->trigger();
    return isStreaming();
}

void AppDriver::stop()
{
    if (isStreaming())
        action("actionStart")->trigger();
}

void AppDriver::runFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}
