// The sliders' style: the logo as the handle, over a handle area grown by
// 15 pixels on every side, and everything else left to the underlying style.
#include "customstyle.h"

#include <QCommonStyle>
#include <QPainter>
#include <QPointer>
#include <QSlider>
#include <QStyleOptionSlider>
#include <QtTest>

using CameraUI::CustomStyle;

namespace {

// An underlying style with a known handle and a record of what it is asked to draw.
class RecordingStyle : public QCommonStyle
{
public:
    struct Drawn
    {
        QStyle::ComplexControl control;
        QStyle::SubControls subControls;
        bool sliderOption;
    };

    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl subControl,
                         const QWidget* widget) const override
    {
        if (control == CC_Slider && subControl == SC_SliderHandle)
            return QRect(100, 10, 20, 20);
        if (control == CC_Slider && subControl == SC_SliderGroove)
            return QRect(0, 15, 300, 10);
        return QCommonStyle::subControlRect(control, option, subControl, widget);
    }

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter*,
                            const QWidget*) const override
    {
        drawn.push_back({control, option->subControls,
                         qstyleoption_cast<const QStyleOptionSlider*>(option) != nullptr});
    }

    mutable std::vector<Drawn> drawn;
};

QImage blank()
{
    QImage image(300, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

class TestCustomStyle : public QObject
{
    Q_OBJECT

private:
    CustomStyle* style = nullptr;
    RecordingStyle* base = nullptr;

private slots:
    void init()
    {
        style = new CustomStyle;
        base = new RecordingStyle;
        style->setBaseStyle(base);
    }
    void cleanup()
    {
        delete style;
        style = nullptr;
        base = nullptr;
    }

    void handleAreaGrowsBy15PixelsOnEverySide()
    {
        QStyleOptionSlider option;
        QCOMPARE(style->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, nullptr),
                 QRect(85, -5, 50, 50));
        QCOMPARE(style->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, nullptr),
                 QRect(0, 15, 300, 10));
    }

    void handleIsTheLogoStretchedOverTheGrownArea()
    {
        QStyleOptionSlider option;
        option.subControls = QStyle::SC_SliderGroove | QStyle::SC_SliderHandle;
        QImage image = blank();
        QPainter painter(&image);
        style->drawComplexControl(QStyle::CC_Slider, &option, &painter, nullptr);
        QVERIFY(painter.testRenderHint(QPainter::SmoothPixmapTransform));
        QVERIFY(painter.testRenderHint(QPainter::Antialiasing));
        painter.end();

        // The underlying style drew everything but the handle.
        QCOMPARE(base->drawn.size(), size_t(1));
        QCOMPARE(base->drawn[0].subControls, QStyle::SubControls(QStyle::SC_SliderGroove));
        QVERIFY(base->drawn[0].sliderOption);

        QImage expected = blank();
        QPainter reference(&expected);
        reference.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
        const QPixmap logo(":/icons/kelvane logo.png");
        QVERIFY(!logo.isNull());
        reference.drawPixmap(QRectF(85, -5, 50, 50), logo, QRectF(logo.rect()));
        reference.end();
        QCOMPARE(image, expected);
        QVERIFY(image.pixelColor(110, 20).alpha() > 0);
    }

    void sliderWithoutHandleIsLeftToTheUnderlyingStyle()
    {
        QStyleOptionSlider option;
        option.subControls = QStyle::SC_SliderGroove;
        QImage image = blank();
        QPainter painter(&image);
        style->drawComplexControl(QStyle::CC_Slider, &option, &painter, nullptr);
        painter.end();
        QCOMPARE(base->drawn.size(), size_t(1));
        QCOMPARE(base->drawn[0].subControls, QStyle::SubControls(QStyle::SC_SliderGroove));
        QCOMPARE(image, blank());
    }

    void otherControlsAreLeftToTheUnderlyingStyle()
    {
        QStyleOptionSlider scrollBar;
        scrollBar.subControls = QStyle::SC_All;
        QStyleOptionComplex notASlider;
        notASlider.subControls = QStyle::SC_All;
        QImage image = blank();
        QPainter painter(&image);
        style->drawComplexControl(QStyle::CC_ScrollBar, &scrollBar, &painter, nullptr);
        style->drawComplexControl(QStyle::CC_Slider, &notASlider, &painter, nullptr);
        painter.end();
        QCOMPARE(base->drawn.size(), size_t(2));
        QCOMPARE(base->drawn[0].control, QStyle::CC_ScrollBar);
        QCOMPARE(base->drawn[0].subControls, QStyle::SubControls(QStyle::SC_All));
        QCOMPARE(base->drawn[1].control, QStyle::CC_Slider);
        QVERIFY(!base->drawn[1].sliderOption);
        QCOMPARE(image, blank());
    }

    void aRealSliderPaintsTheLogo()
    {
        // Without the test's base: the application's own style underneath.
        CustomStyle ownStyle;
        QSlider slider(Qt::Horizontal);
        slider.setStyle(&ownStyle);
        slider.setRange(0, 100);
        slider.setValue(50);
        slider.resize(300, 60);
        const QImage shot = slider.grab().toImage();
        QStyleOptionSlider option;
        option.initFrom(&slider);
        option.orientation = Qt::Horizontal;
        option.minimum = 0;
        option.maximum = 100;
        option.sliderPosition = option.sliderValue = 50;
        const QRect handle = ownStyle.subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider);
        const QRect plain = ownStyle.baseStyle()->subControlRect(QStyle::CC_Slider, &option,
                                                                 QStyle::SC_SliderHandle, &slider);
        QCOMPARE(handle, plain.adjusted(-15, -15, 15, 15));
        // The logo is mostly blue: most of the handle's pixels are.
        int blue = 0;
        const QRect visible = handle.intersected(shot.rect());
        for (int y = visible.top(); y <= visible.bottom(); ++y) {
            for (int x = visible.left(); x <= visible.right(); ++x) {
                const QColor c = shot.pixelColor(x, y);
                blue += c.blue() > c.red() + 40 ? 1 : 0;
            }
        }
        QVERIFY2(blue * 2 > visible.width() * visible.height(), qPrintable(QString::number(blue)));
    }
};

QTEST_MAIN(TestCustomStyle)
#include "test_customstyle.moc"
