#pragma once

// Reads the main window's state the way a user sees it: through its widgets.

#include "console.h"
#include "fakelayer.h"
#include "mainwindow.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QIcon>
#include <QLabel>
#include <QPointer>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

#include <functional>

namespace Probe {

inline void trigger(QWidget& w, const char* action)
{
    w.findChild<QAction*>(action)->trigger();
}

// The four selection combo boxes, in tool bar order: device, format, resolution, interval.
inline QList<QComboBox*> combos(QWidget& w)
{
    QList<QComboBox*> result;
    auto* bar = w.findChild<QToolBar*>("mainToolBar");
    for (QAction* a : bar->actions()) {
        if (auto* combo = qobject_cast<QComboBox*>(bar->widgetForAction(a)))
            result << combo;
    }
    return result;
}

inline QStringList items(QComboBox* combo)
{
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i)
        texts << combo->itemText(i);
    return texts;
}

inline QString status(QWidget& w)
{
    return w.findChild<QLabel*>("statusLabel")->text();
}

inline QString consoleText(QWidget& w)
{
    return w.findChild<Console*>("console")->toPlainText();
}

// The frame timer: the window's only direct QTimer child.
inline QTimer* refreshTimer(QWidget& w)
{
    const auto timers = w.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    return timers.size() == 1 ? timers.front() : nullptr;
}

// One tick of the frame pump, as the timer would give it.
inline void tick(QWidget& w)
{
    QMetaObject::invokeMethod(&w, "refreshSlot", Qt::DirectConnection);
}

// A device named "cam" offering one format in one resolution.
inline Fake::DeviceSpec camera(const std::string& fourcc = "RGB3", unsigned w = 640, unsigned h = 480,
                               std::vector<Fake::Interval> intervals = {Fake::Interval()})
{
    Fake::DeviceSpec spec;
    spec.name = "cam";
    spec.formats = {Fake::PixelFormat(fourcc, {Fake::Resolution(w, h, std::move(intervals))})};
    return spec;
}

// A window streaming from one device with its timer stopped: the test pulls
// frames itself, one tick at a time.
class Session
{
public:
    explicit Session(const Fake::DeviceSpec& spec)
    {
        Fake::Layer::instance().devices = {spec};
        window = std::make_unique<MainWindow>();
        // The picture may point into the frame's buffer, which goes back to
        // the camera at the end of the tick: keep copies, as any receiver must.
        QObject::connect(window.get(), &MainWindow::newImage, [this](const QImage& i) { images << i.copy(); });
        trigger(*window, "actionStart");
        refreshTimer(*window)->stop();
    }
    Fake::Camera& camera() { return *Fake::Layer::instance().camera(); }
    void show(Fake::Frame frame)
    {
        camera().queued.push_back(std::move(frame));
        tick(*window);
    }

    std::unique_ptr<MainWindow> window;
    QList<QImage> images;
};

// Handles each modal widget of type T that opens (a message box, a file
// dialog) with handler, from inside its own event loop.
template <typename T>
class ModalHandler : public QTimer
{
public:
    explicit ModalHandler(std::function<void(T*)> handler)
    {
        connect(this, &QTimer::timeout, [this, handler] {
            auto* modal = qobject_cast<T*>(QApplication::activeModalWidget());
            if (modal && modal != m_last) {
                m_last = modal;
                ++handled;
                handler(modal);
            }
        });
        start(10);
    }

    int handled = 0;

private:
    QPointer<QWidget> m_last;
};

} // namespace Probe
