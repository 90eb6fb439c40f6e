#pragma once

#include <QProxyStyle>

namespace CameraUI {

// The style of the settings dialog's sliders: the application's own style
// with the maker's logo as the handle, and a handle area 15 pixels larger on
// every side so that it is easy to grab on a touch screen.
class CustomStyle : public QProxyStyle
{
    Q_OBJECT

public:
    CustomStyle();

    void drawComplexControl(QStyle::ComplexControl control, QStyleOptionComplex const* option,
                            QPainter* painter, QWidget const* widget) const override;
    QRect subControlRect(QStyle::ComplexControl control, QStyleOptionComplex const* option,
                         QStyle::SubControl subControl, QWidget const* widget) const override;
};

} // namespace CameraUI
