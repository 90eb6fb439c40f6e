// The rows of the settings dialog and the sliders' style: what each row shows,
// what reaches the camera when the user acts, refused writes and refreshes.
#include "cameracontrolbutton.h"
#include "cameracontrolcheckbox.h"
#include "cameracontrolcombobox.h"
#include "cameracontrolerrorcode.h"
#include "cameracontrollineedit.h"
#include "cameracontrolroint.h"
#include "cameracontrolslider.h"
#include "cameracontroltrigger.h"
#include "customstyle.h"
#include "fakelayer.h"

#include <QtTest>
#include <QtWidgets>

using namespace CameraUI;
using Family = ImageAcquisition::ICameraControl::Family;

namespace {

const QStringList kErrorTexts{"Over Temperature", "Video DMA", "GPIF", "Image Sensor", "Debug Print", "I/O",
                              "IO Supply", "Flash", "USB", "USB Video", "USB UART", "USB Bootloader", "MIPI",
                              "Liquid Lens", "Application", "Auto Diagnosis", "USB Not Connected",
                              "Trigger timeout", "Not in focus", "Error All"};

// Whether the row shows the text in a label that stays readable on any picture.
bool shows(QWidget& row, const QString& text)
{
    for (QLabel* label : row.findChildren<QLabel*>()) {
        if (label->text() == text)
            return label->styleSheet() == "QLabel { color : white;}"
                   && qobject_cast<QGraphicsDropShadowEffect*>(label->graphicsEffect());
    }
    return false;
}

QStringList items(QComboBox* combo)
{
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i)
        texts << combo->itemText(i);
    return texts;
}

bool showsIcon(QToolButton* button, const char* path)
{
    return button->icon().pixmap(32).toImage() == QIcon(path).pixmap(32).toImage();
}

// The texts of a panel's entries in order, or of the checked ones only.
QStringList entries(QWidget& panel, bool checkedOnly = true)
{
    const auto boxes = panel.findChildren<QCheckBox*>();
    const auto labels = panel.findChildren<QLabel*>();
    QStringList texts;
    for (int i = 0; i < boxes.size(); ++i) {
        if (boxes[i]->isChecked() || !checkedOnly)
            texts << labels[i]->text();
    }
    return texts;
}

// The families a row announced after its control changed.
std::shared_ptr<std::vector<Family>> familiesOf(CameraControlBase& row)
{
    auto families = std::make_shared<std::vector<Family>>();
    QObject::connect(&row, &CameraControlBase::updateFamily, [families](Family f) { families->push_back(f); });
    return families;
}

QImage paint(const QStyle& style, const QStyleOptionComplex& option)
{
    QImage image(300, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    style.drawComplexControl(QStyle::CC_Slider, &option, &painter);
    return image;
}

} // namespace

class TestControlRows : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::clearCalls(); }

    void anyStateFlagDisablesTheRow()
    {
        for (bool Fake::Control::*flag : {&Fake::Control::disabled, &Fake::Control::inactive,
                                          &Fake::Control::grabbed, &Fake::Control::readOnly}) {
            Fake::Numeric<int> gain("Gain", 0, 10, 1, 5);
            gain.*flag = true;
            CameraControlSlider row(gain, nullptr);
            QVERIFY(!row.findChild<QSlider*>()->isEnabled());
        }
    }

    void slider()
    {
        Fake::Numeric<int> gain("Gain", -10, 10, 2, 4);
        CameraControlSlider row(gain, nullptr);
        auto* slider = row.findChild<QSlider*>();
        QCOMPARE(QVector<int>({slider->minimum(), slider->maximum(), slider->value(), slider->singleStep()}),
                 QVector<int>({-10, 10, 4, 2}));
        QVERIFY(shows(row, "-10") && shows(row, "10") && shows(row, "Gain: 4") && slider->isEnabled());
        QVERIFY(qobject_cast<CustomStyle*>(slider->style()) && !Fake::called("Gain.setValue"));

        slider->setValue(6);
        gain.refuseWrites = true;
        slider->setValue(8);
        QVERIFY(Fake::called("Gain.setValue(8)") && gain.value == 6 && shows(row, "Gain: 6"));

        // Refreshes show the camera's value without writing it back.
        gain.value = -3;
        gain.grabbed = true;
        row.updateState();
        QVERIFY(slider->value() == -3 && shows(row, "Gain: -3") && !slider->isEnabled());
        QCOMPARE(Fake::count("Gain.setValue"), 2);

        // Past 32 bits the slider wraps, but the labels and the writes keep the true values.
        Fake::Numeric<long long> exposure("Exposure", -6000000000LL, 6000000000LL, 1, 5000000000LL);
        CameraControlSlider wideRow(exposure, nullptr);
        QVERIFY(shows(wideRow, "-6000000000") && shows(wideRow, "Exposure: 5000000000"));
        wideRow.findChild<QSlider*>()->setValue(-42);
        QVERIFY(exposure.value == -42 && shows(wideRow, "Exposure: -42"));
    }

    void lineEdit()
    {
        Fake::String name("Name", std::string("caf\xc3\xa9\0tail", 9), 1, 8);
        CameraControlLineEdit row(name, nullptr);
        auto* edit = row.findChild<QLineEdit*>();
        auto* commit = row.findChild<QToolButton*>();
        QVERIFY(shows(row, "Name :") && edit->text() == QString::fromUtf8("caf\xc3\xa9"));
        QVERIFY(!commit->isEnabled() && showsIcon(commit, ":/icons/refresh.png"));
        edit->clear();
        QVERIFY(!commit->isEnabled());
        QTest::keyClicks(edit, "abcdefghi");
        QCOMPARE(edit->text(), QString("abcdefgh"));
        QVERIFY(commit->isEnabled() && showsIcon(commit, ":/icons/refresh required.png"));
        QVERIFY(!Fake::called("Name.setValue"));
        QTest::mouseClick(commit, Qt::LeftButton);
        name.refuseWrites = true;
        edit->setText("x");
        QTest::mouseClick(commit, Qt::LeftButton);
        QVERIFY(Fake::called("Name.setValue(x)") && name.value == "abcdefgh");
        QVERIFY(!commit->isEnabled() && showsIcon(commit, ":/icons/refresh.png"));

        // A refresh replaces the text and leaves the commit button as it was.
        name.grabbed = true;
        name.value = "camera";
        row.updateState();
        QVERIFY(edit->text() == "camera" && !commit->isEnabled() && !edit->isEnabled());
        edit->setText("y");
        row.updateState();
        QVERIFY(edit->text() == "camera" && commit->isEnabled());
    }

    void comboBox()
    {
        Fake::StringMenu mode("Mode", {"Off", "Manual", "Auto"}, 2, Family::FamilyCamera);
        CameraControlComboBox row(mode, nullptr);
        const auto families = familiesOf(row);
        auto* combo = row.findChild<QComboBox*>();
        QVERIFY(shows(row, "Mode: ") && items(combo) == QStringList({"Off", "Manual", "Auto"}));
        QCOMPARE(combo->currentIndex(), 2);
        combo->setCurrentIndex(0);
        mode.refuseWrites = true;
        combo->setCurrentIndex(1);
        QCOMPARE(Fake::calls(), std::vector<std::string>({"Mode.setIndex(0)", "Mode.setIndex(1)"}));
        QVERIFY(combo->currentIndex() == 1 && mode.index == 0);
        QCOMPARE(*families, std::vector<Family>(2, Family::FamilyCamera));
        mode.grabbed = true;
        row.updateState();
        QVERIFY(!combo->isEnabled() && mode.refreshCount == 1);

        Fake::Int64Menu rate("Rate", {-1, 0, 5000000000LL}, 1);
        CameraControlComboBox rateRow(rate, nullptr);
        QCOMPARE(items(rateRow.findChild<QComboBox*>()), QStringList({"-1", "0", "5000000000"}));
        QCOMPARE(rateRow.findChild<QComboBox*>()->currentIndex(), 1);
    }

    void checkBoxAndButton()
    {
        Fake::Boolean autoWb("White Balance Auto", false);
        CameraControlCheckBox boxRow(autoWb, nullptr);
        Fake::Button reset("Reset", Family::FamilyKelvane);
        CameraControlButton buttonRow(reset, nullptr);
        const auto families = familiesOf(boxRow);
        const auto buttonFamilies = familiesOf(buttonRow);
        boxRow.show();
        QVERIFY(QTest::qWaitForWindowExposed(&boxRow));
        auto* box = boxRow.findChild<QCheckBox*>();
        auto* button = buttonRow.findChild<QPushButton*>();
        QVERIFY(!box->isChecked() && box->text().isEmpty() && shows(boxRow, "White Balance Auto"));
        QCOMPARE(button->text(), QString("Reset"));
        for (bool refused : {false, true}) {
            autoWb.refuseWrites = reset.refuseWrites = refused;
            QTest::mouseClick(box, Qt::LeftButton);
            QTest::mouseClick(button, Qt::LeftButton);
        }
        QCOMPARE(Fake::calls(), std::vector<std::string>({"White Balance Auto.setValue(true)", "Reset.press",
                                                          "White Balance Auto.setValue(false)", "Reset.press"}));
        QVERIFY(!box->isChecked() && autoWb.value);
        QCOMPARE(*families, std::vector<Family>(2, Family::FamilyUser));
        QCOMPARE(*buttonFamilies, std::vector<Family>(2, Family::FamilyKelvane));
        // Asked every time: the layer may move a control to another family.
        reset.family = Family::FamilyUser;
        QCOMPARE(buttonRow.family(), Family::FamilyUser);

        // Refreshes grey the rows out but do not redisplay the value.
        autoWb.grabbed = reset.grabbed = true;
        boxRow.updateState();
        buttonRow.updateState();
        QVERIFY(!box->isChecked() && !box->isEnabled() && autoWb.refreshCount == 1);
        QVERIFY(!button->isEnabled() && reset.refreshCount == 1);
    }

    void readOnlyValueFormats()
    {
        const QString temperature("Temperature (C)");
        const std::tuple<QString, int, QString> cases[] = {
            {temperature, 4523, "45.23"}, {temperature, 2500, "25"}, {temperature, -150, "-1.5"},
            {temperature, 100000000, "1e+06"}, {"temperature (c)", 4523, "4523"}, {QString(), 4523, "4523"}};
        for (const auto& [name, value, shown] : cases) {
            Fake::Numeric<int> control(name.toStdString(), -1, 1, 1, value);
            control.nullName = name.isNull();
            CameraControlROInt row(control, nullptr);
            QCOMPARE(row.findChild<QLineEdit*>()->text(), shown);
            QVERIFY(row.findChild<QLineEdit*>()->isReadOnly() && shows(row, name + " :"));
        }
    }

    void pollingRowsFollowTheCameraAndSurviveItsFailures()
    {
        Fake::Numeric<int> temperature("Temperature (C)", 0, 0, 1, 2500);
        Fake::Numeric<int> status("Error Status", 0, 0, 1, 0x8);
        status.throwOnRefresh = true;
        CameraControlROInt row(temperature, nullptr);
        CameraControlErrorCode panel(status, nullptr);
        QCOMPARE(entries(panel), QStringList());

        temperature.value = 3125;
        status.throwOnRefresh = false;
        QTRY_COMPARE_WITH_TIMEOUT(row.findChild<QLineEdit*>()->text(), QString("31.25"), 2000);
        QTRY_COMPARE_WITH_TIMEOUT(entries(panel), QStringList({"Image Sensor"}), 2000);

        temperature.throwOnRefresh = status.throwOnRefresh = true;
        temperature.value = status.value = 0;
        const int polls[] = {temperature.refreshCount, status.refreshCount};
        QTRY_VERIFY_WITH_TIMEOUT(temperature.refreshCount > polls[0] && status.refreshCount > polls[1], 2000);
        QCOMPARE(row.findChild<QLineEdit*>()->text(), QString("31.25"));
        QCOMPARE(entries(panel), QStringList({"Image Sensor"}));
    }

    void errorPanel()
    {
        Fake::Numeric<int> status("Error Status", 0, 0, 1, 0);
        CameraControlErrorCode panel(status, nullptr);
        QCOMPARE(entries(panel, false), kErrorTexts);
        // An entry is checked where every one of its bits is set.
        const std::pair<int, QStringList> cases[] = {{0x00020001, {"Over Temperature", "Trigger timeout"}},
                                                     {0x0007FFFF, kErrorTexts.mid(0, 19)},
                                                     {-1, kErrorTexts},
                                                     {int(0xFFF80004u), {"GPIF"}}};
        for (const auto& [word, checked] : cases) {
            status.value = word;
            panel.updateState();
            QCOMPARE(entries(panel), checked);
        }

        // The boxes ignore the user; the button clears every bit, and the boxes wait for the next poll.
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        auto* box = panel.findChildren<QCheckBox*>().at(1);
        QTest::mouseClick(panel.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                          box->mapTo(&panel, box->rect().center()));
        auto* clear = panel.findChild<QPushButton*>();
        QCOMPARE(clear->text(), QString("Clear Errors"));
        QTest::mouseClick(clear, Qt::LeftButton);
        status.refuseWrites = true;
        QTest::mouseClick(clear, Qt::LeftButton);
        QVERIFY(Fake::count("Error Status.setValue(-1)") == 2 && Fake::count("Error Status.setValue") == 2);
        QCOMPARE(entries(panel), QStringList({"GPIF"}));
    }

    void triggerPanelSendsAndShowsMasks()
    {
        Fake::Numeric<int> trigger("Trigger Auto Controls", 0, 7, 1, 7);
        CameraControlTrigger panel(trigger, nullptr);
        auto* send = panel.findChild<QPushButton*>();
        QCOMPARE(send->text(), QString("Trigger Auto Controls"));
        QCOMPARE(entries(panel, false), QStringList({"Exposure", "Focus", "White Balance"}));
        QCOMPARE(entries(panel), QStringList());

        const auto boxes = panel.findChildren<QCheckBox*>();
        boxes[0]->click();
        boxes[2]->click();
        send->click();
        QCOMPARE(entries(panel), QStringList());
        send->click();
        boxes[1]->click();
        trigger.refuseWrites = true;
        send->click();
        QCOMPARE(Fake::calls(), std::vector<std::string>({"Trigger Auto Controls.setValue(5)",
                                                          "Trigger Auto Controls.setValue(0)",
                                                          "Trigger Auto Controls.setValue(2)"}));
        QCOMPARE(entries(panel), QStringList({"Focus"}));
        trigger.value = 0xF9;
        panel.updateState();
        QCOMPARE(entries(panel), QStringList({"Exposure"}));
    }

    void styleDrawsTheLogoOverTheHandleGrownBy15Pixels()
    {
        CustomStyle style;
        style.setBaseStyle(QStyleFactory::create("Fusion"));
        const QStyle& base = *style.baseStyle();
        QStyleOptionSlider option;
        option.rect = QRect(0, 0, 300, 60);
        option.maximum = 100;
        option.sliderPosition = 50;
        option.subControls = QStyle::SC_SliderGroove;
        const auto handleOf = [&](const QStyle& s) {
            return s.subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, nullptr);
        };
        const QRect handle = handleOf(base).adjusted(-15, -15, 15, 15);
        QCOMPARE(handleOf(style), handle);

        // An option that is not a slider's is left to the base style.
        QStyleOptionComplex notASlider;
        notASlider.rect = option.rect;
        notASlider.subControls = QStyle::SC_All;
        QCOMPARE(paint(style, notASlider), paint(base, notASlider));

        QImage expected = paint(base, option);
        option.subControls |= QStyle::SC_SliderHandle;
        QPainter reference(&expected);
        reference.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
        const QPixmap logo(":/icons/kelvane logo.png");
        QVERIFY(!logo.isNull());
        reference.drawPixmap(QRectF(handle), logo, QRectF(logo.rect()));
        reference.end();
        QCOMPARE(paint(style, option), expected);
    }
};

QTEST_MAIN(TestControlRows)
#include "test_controlrows.moc"
