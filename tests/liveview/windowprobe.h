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

inline QAction* action(QWidget& w, const char* name)
{
    return w.findChild<QAction*>(name);
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

inline QLabel* imageLabel(QWidget& w)
{
    return w.findChild<QLabel*>("imageLabel");
}

inline bool iconIs(QAction* a, const char* resource)
{
    return a->icon().pixmap(75, 75).toImage() == QIcon(resource).pixmap(75, 75).toImage();
}

const char* const playIcon = ":/icons/Play-Button-Blue-Davrix2-13mai2016.png";
const char* const stopIcon = ":/icons/Stop-Button-Blue-Davrix2-13mai2016.png";

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

// Handles the next modal widget of type T that opens (a message box, a file
// dialog) with handler, from inside its own event loop.
template <typename T>
class ModalHandler : public QObject
{
public:
    explicit ModalHandler(std::function<void(T*)> handler) : m_handler(std::move(handler))
    {
        m_timer.setInterval(10);
        QObject::connect(&m_timer, &QTimer::timeout, this, [this] {
            if (auto* modal = qobject_cast<T*>(QApplication::activeModalWidget())) {
                if (modal == m_last)
                    return;
                m_last = modal;
                ++handled;
                m_handler(modal);
            }
        });
        m_timer.start();
    }

    int handled = 0;

private:
    std::function<void(T*)> m_handler;
    QTimer m_timer;
    QPointer<QWidget> m_last;
};

} // namespace Probe
