#include "customstyle.h"

#include <QPainter>
#include <QPixmap>
#include <QStyleOptionSlider>

namespace CameraUI {

namespace {
constexpr int kHandleGrowth = 15;
const char* const kHandlePicture = ":/icons/kelvane logo.png";
} // namespace

CustomStyle::CustomStyle() : QProxyStyle(static_cast<QStyle*>(nullptr))
{
}

void CustomStyle::drawComplexControl(QStyle::ComplexControl control, QStyleOptionComplex const* option,
                                     QPainter* painter, QWidget const* widget) const
{
    const auto* sliderOption = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != QStyle::CC_Slider || !sliderOption) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }

    QStyleOptionSlider slider(*sliderOption);
    if (!(slider.subControls & QStyle::SC_SliderHandle)) {
        QProxyStyle::drawComplexControl(control, &slider, painter, widget);
        return;
    }

    slider.subControls &= ~QStyle::SC_SliderHandle;
    QProxyStyle::drawComplexControl(control, &slider, painter, widget);

    // Through the virtual call, so the picture covers the grown area.
    const QRect handle = subControlRect(QStyle::CC_Slider, &slider, QStyle::SC_SliderHandle, widget);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter->setRenderHint(QPainter::Antialiasing, true);
    const QPixmap picture(kHandlePicture);
    painter->drawPixmap(QRectF(handle), picture, QRectF(picture.rect()));
}

QRect CustomStyle::subControlRect(QStyle::ComplexControl control, QStyleOptionComplex const* option,
                                  QStyle::SubControl subControl, QWidget const* widget) const
{
    const QRect rect = QProxyStyle::subControlRect(control, option, subControl, widget);
    if (control == QStyle::CC_Slider && subControl == QStyle::SC_SliderHandle)
        return rect.adjusted(-kHandleGrowth, -kHandleGrowth, kHandleGrowth, kHandleGrowth);
    return rect;
}

} // namespace CameraUI
