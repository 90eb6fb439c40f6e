#pragma once

// Helpers shared by the camera settings tests: a fake camera whose controls
// a test adds one by one with typed access, and ways to look at rows.

#include "fakelayer.h"

#include <QIcon>
#include <QImage>
#include <QLayout>
#include <QObject>
#include <QString>
#include <QTabWidget>
#include <QVector>
#include <QWidget>

#include <memory>
#include <utility>
#include <vector>

class CameraRig
{
public:
    CameraRig() : camera(Fake::DeviceSpec{}) {}

    template <typename T, typename... Args>
    T& add(Args&&... args)
    {
        auto control = std::make_unique<T>(std::forward<Args>(args)...);
        T& typed = *control;
        camera.controls.push_back(std::move(control));
        return typed;
    }

    // A control of a kind without a row, whose plain label is exactly
    // `height` pixels high: an inline picture of that height is its only content.
    Fake::Control& addLabelOfHeight(int height)
    {
        auto& control = add<Fake::Control>("Spacer " + std::to_string(camera.controls.size()), 7);
        control.description = QString("<img src=\":/icons/kelvane logo.png\" width=\"10\" height=\"%1\">")
                                  .arg(height)
                                  .toStdString();
        return control;
    }

    Fake::Camera camera;
};

// The widgets a page holds, top to bottom (the closing stretch left out).
inline QVector<QWidget*> rowsOfPage(QTabWidget* tabs, int page)
{
    QVector<QWidget*> rows;
    QLayout* layout = tabs->widget(page)->layout();
    for (int i = 0; i < layout->count(); ++i) {
        if (QWidget* w = layout->itemAt(i)->widget())
            rows << w;
    }
    return rows;
}

inline bool showsIcon(const QIcon& icon, const char* path)
{
    return icon.pixmap(32).toImage() == QIcon(path).pixmap(32).toImage();
}

// Records every family a row reports; the family type is not a registered
// meta-type, so the signal is received through a slot, as the dialog does.
class FamilyListener : public QObject
{
    Q_OBJECT

public:
    explicit FamilyListener(QObject* row)
    {
        connect(row, SIGNAL(updateFamily(ImageAcquisition::ICameraControl::Family)), this,
                SLOT(onFamily(ImageAcquisition::ICameraControl::Family)));
    }
    std::vector<ImageAcquisition::ICameraControl::Family> families;

public slots:
    void onFamily(ImageAcquisition::ICameraControl::Family family) { families.push_back(family); }
};
