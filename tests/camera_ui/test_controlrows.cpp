// The editable rows of the settings dialog: what each shows when built, what
// reaches the camera when the user acts on it, refused writes and refreshes.
#include "camerarig.h"
#include "cameracontrolbutton.h"
#include "cameracontrolcheckbox.h"
#include "cameracontrolcombobox.h"
#include "cameracontrollineedit.h"
#include "cameracontrolslider.h"
#include "customstyle.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QToolButton>
#include <QtTest>

using namespace CameraUI;
using Family = ImageAcquisition::ICameraControl::Family;

namespace {

QStringList labelTexts(QWidget& row)
{
    QStringList texts;
    for (QLabel* label : row.findChildren<QLabel*>())
        texts << label->text();
    return texts;
}

QLabel* labelWithText(QWidget& row, const QString& text)
{
    for (QLabel* label : row.findChildren<QLabel*>()) {
        if (label->text() == text)
            return label;
    }
    return nullptr;
}

} // namespace

class TestControlRows : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::clearCalls(); }

    // --- what every row shares ------------------------------------------

    void everyRowIsASunkenBoxWithShadowedWhiteLabels()
    {
        CameraRig rig;
        std::vector<std::unique_ptr<CameraControlBase>> rows;
        rows.emplace_back(new CameraControlSlider(rig.add<Fake::Numeric<int>>("Gain", 0, 10, 1, 5), nullptr));
        rows.emplace_back(new CameraControlLineEdit(rig.add<Fake::String>("Label", "x", 0, 8), nullptr));
        rows.emplace_back(new CameraControlComboBox(
            rig.add<Fake::StringMenu>("Mode", std::vector<std::string>{"A"}, 0), nullptr));
        rows.emplace_back(new CameraControlCheckBox(rig.add<Fake::Boolean>("Auto", true), nullptr));
        rows.emplace_back(new CameraControlButton(rig.add<Fake::Button>("Reset"), nullptr));

        for (const auto& row : rows) {
            QCOMPARE(row->frameStyle(), 0x31);
            QCOMPARE(row->frameShape(), QFrame::Box);
            QCOMPARE(row->frameShadow(), QFrame::Sunken);
            for (QLabel* label : row->findChildren<QLabel*>()) {
                QCOMPARE(label->styleSheet(), QString("QLabel { color : white;}"));
                auto* shadow = qobject_cast<QGraphicsDropShadowEffect*>(label->graphicsEffect());
                QVERIFY(shadow);
                QCOMPARE(shadow->parent(), row.get());
                QCOMPARE(shadow->color(), QColor(Qt::black));
                QCOMPARE(shadow->blurRadius(), 2.0);
                QCOMPARE(shadow->offset(), QPointF(1.5, 1.5));
            }
        }
    }

    void familyIsAskedEveryTime()
    {
        CameraRig rig;
        auto& control = rig.add<Fake::Boolean>("Auto", false, ImageAcquisition::ICameraControl::FamilyUser);
        CameraControlCheckBox row(control, nullptr);
        QCOMPARE(row.family(), ImageAcquisition::ICameraControl::FamilyUser);
        control.family = ImageAcquisition::ICameraControl::FamilyCamera;
        QCOMPARE(row.family(), ImageAcquisition::ICameraControl::FamilyCamera);
    }

    void editabilityAsksTheFlagsInOrderUntilOneHolds_data()
    {
        QTest::addColumn<QString>("flag");
        QTest::addColumn<QStringList>("asked");
        const QStringList all{"isDisabled", "isInactive", "isGrabbed", "isReadOnly"};
        QTest::newRow("none") << QString() << all;
        QTest::newRow("disabled") << "disabled" << QStringList(all.mid(0, 1));
        QTest::newRow("inactive") << "inactive" << QStringList(all.mid(0, 2));
        QTest::newRow("grabbed") << "grabbed" << QStringList(all.mid(0, 3));
        QTest::newRow("read-only") << "readOnly" << all;
    }

    void editabilityAsksTheFlagsInOrderUntilOneHolds()
    {
        QFETCH(QString, flag);
        QFETCH(QStringList, asked);
        CameraRig rig;
        auto& control = rig.add<Fake::Numeric<int>>("Gain", 0, 10, 1, 5);
        control.logFlagQueries = true;
        bool* flags[] = {&control.disabled, &control.inactive, &control.grabbed, &control.readOnly};
        const QStringList names{"disabled", "inactive", "grabbed", "readOnly"};
        if (!flag.isEmpty())
            *flags[names.indexOf(flag)] = true;

        CameraControlSlider row(control, nullptr);
        QStringList queried;
        for (const auto& call : Fake::calls()) {
            if (call.rfind("Gain.is", 0) == 0)
                queried << QString::fromStdString(call.substr(5));
        }
        QCOMPARE(queried, asked);
        QCOMPARE(row.findChild<QSlider*>()->isEnabled(), flag.isEmpty());
        for (QLabel* label : row.findChildren<QLabel*>())
            QVERIFY(label->isEnabled());

        // The flag clears on the camera: the next refresh enables the input again.
        for (bool* f : flags)
            *f = false;
        row.updateState();
        QVERIFY(row.findChild<QSlider*>()->isEnabled());
    }

    void everyEditableRowAppliesTheTestOnRefresh()
    {
        CameraRig rig;
        auto& text = rig.add<Fake::String>("Label", "x", 0, 8);
        auto& menu = rig.add<Fake::Int64Menu>("Rate", std::vector<long long>{1, 2}, 0);
        auto& box = rig.add<Fake::Boolean>("Auto", true);
        auto& button = rig.add<Fake::Button>("Reset");
        CameraControlLineEdit textRow(text, nullptr);
        CameraControlComboBox menuRow(menu, nullptr);
        CameraControlCheckBox boxRow(box, nullptr);
        CameraControlButton buttonRow(button, nullptr);
        QWidget* inputs[] = {textRow.findChild<QLineEdit*>(), menuRow.findChild<QComboBox*>(),
                             boxRow.findChild<QCheckBox*>(), buttonRow.findChild<QPushButton*>()};
        Fake::Control* controls[] = {&text, &menu, &box, &button};
        CameraControlBase* rows[] = {&textRow, &menuRow, &boxRow, &buttonRow};
        for (int i = 0; i < 4; ++i) {
            QVERIFY(inputs[i]->isEnabled());
            controls[i]->grabbed = true;
            rows[i]->updateState();
            QVERIFY(!inputs[i]->isEnabled());
            QCOMPARE(controls[i]->refreshCount, 1);
        }
    }

    // --- slider ---------------------------------------------------------

    void sliderShowsBoundsAndNamedValue()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", -10, 10, 2, 4);
        CameraControlSlider row(gain, nullptr);
        auto* slider = row.findChild<QSlider*>();
        QCOMPARE(slider->orientation(), Qt::Horizontal);
        QCOMPARE(slider->minimum(), -10);
        QCOMPARE(slider->maximum(), 10);
        QCOMPARE(slider->value(), 4);
        QCOMPARE(slider->singleStep(), 2);
        QCOMPARE(slider->minimumHeight(), 60);
        QCOMPARE(labelTexts(row), QStringList({"-10", "10", "Gain: 4"}));
        QVERIFY(labelWithText(row, "Gain: 4")->alignment() & Qt::AlignHCenter);
        QVERIFY(!Fake::called("Gain.setValue"));
        QVERIFY(!Fake::called("Gain.refresh"));
    }

    void movingTheSliderWritesEachPosition()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", -10, 10, 2, 4);
        CameraControlSlider row(gain, nullptr);
        row.findChild<QSlider*>()->setValue(6);
        QCOMPARE(Fake::count("Gain.setValue"), 1);
        QVERIFY(Fake::called("Gain.setValue(6)"));
        QCOMPARE(gain.value, 6);
        QVERIFY(labelWithText(row, "Gain: 6"));
    }

    void refusedSliderWriteKeepsTheLabel()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", -10, 10, 2, 4);
        CameraControlSlider row(gain, nullptr);
        gain.refuseWrites = true;
        auto* slider = row.findChild<QSlider*>();
        slider->setValue(8);
        QVERIFY(Fake::called("Gain.setValue(8)"));
        QCOMPARE(slider->value(), 8);
        QVERIFY(labelWithText(row, "Gain: 4"));
        // A refresh brings the camera's value back without writing it.
        row.updateState();
        QCOMPARE(slider->value(), 4);
        QCOMPARE(Fake::count("Gain.setValue"), 1);
    }

    void refreshShowsTheCameraValueWithoutWriting()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", -10, 10, 1, 4);
        CameraControlSlider row(gain, nullptr);
        row.updateState();
        QVERIFY(labelWithText(row, "Gain: 4"));
        gain.onRefresh = [&] { gain.value = -3; };
        row.updateState();
        QCOMPARE(row.findChild<QSlider*>()->value(), -3);
        QVERIFY(labelWithText(row, "Gain: -3"));
        QCOMPARE(gain.refreshCount, 2);
        QVERIFY(!Fake::called("Gain.setValue"));
    }

    void wideSliderKeepsTheLowBitsAndTheTrueBounds()
    {
        CameraRig rig;
        auto& exposure = rig.add<Fake::Numeric<long long>>("Exposure", -5, 4294967296LL, 1, 5000000000LL);
        CameraControlSlider row(exposure, nullptr);
        auto* slider = row.findChild<QSlider*>();
        QCOMPARE(slider->minimum(), -5);
        QCOMPARE(slider->maximum(), 0);
        // The slider's range is [-5, 0]; the low 32 bits of the value do not fit it.
        QCOMPARE(labelTexts(row), QStringList({"-5", "4294967296", "Exposure: 5000000000"}));
        QCOMPARE(row.controlValue(), 5000000000LL);

        CameraRig rig2;
        auto& wide = rig2.add<Fake::Numeric<long long>>("Exposure", 0, 6000000000LL, 1, 5000000000LL);
        CameraControlSlider wideRow(wide, nullptr);
        auto* wideSlider = wideRow.findChild<QSlider*>();
        QCOMPARE(wideSlider->maximum(), 1705032704);
        QCOMPARE(wideSlider->value(), 705032704);
        QVERIFY(labelWithText(wideRow, "Exposure: 5000000000"));
        wideRow.updateState();
        QVERIFY(labelWithText(wideRow, "Exposure: 5000000000"));

        wideSlider->setValue(7);
        QVERIFY(Fake::called("Exposure.setValue(7)"));
        QCOMPARE(wide.value, 7LL);
        QVERIFY(labelWithText(wideRow, "Exposure: 7"));
    }

    void negativeWideValueGoesBackSignExtended()
    {
        CameraRig rig;
        auto& offset = rig.add<Fake::Numeric<long long>>("Offset", -100, 100, 1, 0);
        CameraControlSlider row(offset, nullptr);
        row.findChild<QSlider*>()->setValue(-42);
        QCOMPARE(offset.value, -42LL);
    }

    void sliderOfAControlWithoutNameShowsJustTheValue()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", 0, 10, 1, 3);
        gain.nullName = true;
        CameraControlSlider row(gain, nullptr);
        QVERIFY(labelWithText(row, ": 3"));
    }

    void sliderStyleLivesAndDiesWithTheRow()
    {
        CameraRig rig;
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", 0, 10, 1, 3);
        auto* row = new CameraControlSlider(gain, nullptr);
        QPointer<CustomStyle> style = row->findChild<CustomStyle*>();
        QVERIFY(style);
        QCOMPARE(row->findChild<QSlider*>()->style(), style.data());
        // Each slider has a style of its own.
        CameraControlSlider other(gain, nullptr);
        QVERIFY(other.findChild<CustomStyle*>() != style.data());
        row->show();
        QVERIFY(QTest::qWaitForWindowExposed(row));
        delete row;
        QVERIFY(style.isNull());
    }

    // --- line edit ------------------------------------------------------

    void lineEditCommitsOnlyTextsWithinTheLimits()
    {
        CameraRig rig;
        auto& name = rig.add<Fake::String>("Name", "", 1, 8);
        CameraControlLineEdit row(name, nullptr);
        auto* edit = row.findChild<QLineEdit*>();
        auto* commit = row.findChild<QToolButton*>();
        QVERIFY(labelWithText(row, "Name :"));
        QCOMPARE(edit->maxLength(), 8);
        QVERIFY(!commit->isEnabled());
        QVERIFY(showsIcon(commit->icon(), ":/icons/refresh.png"));

        QTest::keyClicks(edit, "abc");
        QVERIFY(commit->isEnabled());
        QVERIFY(showsIcon(commit->icon(), ":/icons/refresh required.png"));
        QVERIFY(!Fake::called("Name.setValue"));

        edit->clear();
        QVERIFY(!commit->isEnabled());
        QVERIFY(showsIcon(commit->icon(), ":/icons/refresh.png"));

        QTest::keyClicks(edit, "abcdefghi");
        QCOMPARE(edit->text(), QString("abcdefgh"));
        QTest::mouseClick(commit, Qt::LeftButton);
        QVERIFY(Fake::called("Name.setValue(abcdefgh)"));
        QCOMPARE(name.value, std::string("abcdefgh"));
        QVERIFY(!commit->isEnabled());
        QVERIFY(showsIcon(commit->icon(), ":/icons/refresh.png"));
    }

    void refusedCommitStillReturnsToIdle()
    {
        CameraRig rig;
        auto& name = rig.add<Fake::String>("Name", "old", 0, 8);
        name.refuseWrites = true;
        CameraControlLineEdit row(name, nullptr);
        auto* edit = row.findChild<QLineEdit*>();
        auto* commit = row.findChild<QToolButton*>();
        QCOMPARE(edit->text(), QString("old"));
        QTest::keyClicks(edit, "x");
        QTest::mouseClick(commit, Qt::LeftButton);
        QVERIFY(Fake::called("Name.setValue(oldx)"));
        QCOMPARE(name.value, std::string("old"));
        QVERIFY(!commit->isEnabled());
        QCOMPARE(edit->text(), QString("oldx"));
    }

    void refreshReplacesTheTextButKeepsAPendingCommit()
    {
        CameraRig rig;
        auto& name = rig.add<Fake::String>("Name", "cam", 0, 8);
        CameraControlLineEdit row(name, nullptr);
        auto* edit = row.findChild<QLineEdit*>();
        auto* commit = row.findChild<QToolButton*>();
        QTest::keyClicks(edit, "era");
        QVERIFY(commit->isEnabled());
        name.value = "front";
        row.updateState();
        QCOMPARE(edit->text(), QString("front"));
        QVERIFY(commit->isEnabled());
        QVERIFY(showsIcon(commit->icon(), ":/icons/refresh required.png"));
        QCOMPARE(name.refreshCount, 1);
    }

    void lineEditReadsUtf8AndStopsAtTheFirstNul()
    {
        CameraRig rig;
        auto& name = rig.add<Fake::String>("Name", std::string("caf\xc3\xa9\0tail", 9), 0, 16);
        CameraControlLineEdit row(name, nullptr);
        QCOMPARE(row.controlString(), QString::fromUtf8("caf\xc3\xa9"));
        name.nullName = true;
        CameraControlLineEdit unnamed(name, nullptr);
        QVERIFY(labelWithText(unnamed, " :"));
    }

    // --- combo box ------------------------------------------------------

    void textMenuListsItsEntriesAndWritesThePick()
    {
        CameraRig rig;
        auto& mode = rig.add<Fake::StringMenu>("Mode", std::vector<std::string>{"Off", "Manual", "Auto"}, 2,
                                               ImageAcquisition::ICameraControl::FamilyCamera);
        CameraControlComboBox row(mode, nullptr);
        FamilyListener listener(&row);
        auto* combo = row.findChild<QComboBox*>();
        QVERIFY(labelWithText(row, "Mode: "));
        QCOMPARE(labelWithText(row, "Mode: ")->sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);
        QCOMPARE(combo->count(), 3);
        QCOMPARE(combo->itemText(0), QString("Off"));
        QCOMPARE(combo->itemText(2), QString("Auto"));
        QCOMPARE(combo->currentIndex(), 2);
        QVERIFY(!Fake::called("Mode.setIndex"));

        combo->setCurrentIndex(0);
        QCOMPARE(Fake::count("Mode.setIndex"), 1);
        QVERIFY(Fake::called("Mode.setIndex(0)"));
        QCOMPARE(listener.families, std::vector<Family>{ImageAcquisition::ICameraControl::FamilyCamera});
    }

    void integerMenuWritesItsEntriesInDecimal()
    {
        CameraRig rig;
        auto& rate = rig.add<Fake::Int64Menu>("Rate", std::vector<long long>{-1, 0, 5000000000LL}, 1);
        CameraControlComboBox row(rate, nullptr);
        auto* combo = row.findChild<QComboBox*>();
        QCOMPARE(combo->count(), 3);
        QCOMPARE(combo->itemText(0), QString("-1"));
        QCOMPARE(combo->itemText(1), QString("0"));
        QCOMPARE(combo->itemText(2), QString("5000000000"));
        QCOMPARE(combo->currentIndex(), 1);
    }

    void emptyMenuShowsAnEmptyComboBox()
    {
        CameraRig rig;
        auto& rate = rig.add<Fake::Int64Menu>("Rate", std::vector<long long>{}, 0);
        CameraControlComboBox row(rate, nullptr);
        QCOMPARE(row.findChild<QComboBox*>()->count(), 0);
    }

    void refusedPickKeepsItAndStillRefreshesTheFamily()
    {
        CameraRig rig;
        auto& mode = rig.add<Fake::StringMenu>("Mode", std::vector<std::string>{"Off", "On"}, 0);
        mode.refuseWrites = true;
        CameraControlComboBox row(mode, nullptr);
        FamilyListener listener(&row);
        row.findChild<QComboBox*>()->setCurrentIndex(1);
        QCOMPARE(row.findChild<QComboBox*>()->currentIndex(), 1);
        QCOMPARE(mode.index, 0);
        QCOMPARE(listener.families.size(), size_t(1));
    }

    // --- check box ------------------------------------------------------

    void checkBoxWritesEachClickAndReportsIt()
    {
        CameraRig rig;
        auto& autoWb = rig.add<Fake::Boolean>("White Balance Auto", false);
        CameraControlCheckBox row(autoWb, nullptr);
        FamilyListener listener(&row);
        row.show();
        QVERIFY(QTest::qWaitForWindowExposed(&row));
        auto* box = row.findChild<QCheckBox*>();
        QVERIFY(!box->isChecked());
        QVERIFY(box->text().isEmpty());
        QVERIFY(labelWithText(row, "White Balance Auto"));

        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(Fake::called("White Balance Auto.setValue(true)"));
        QVERIFY(autoWb.value);
        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(Fake::called("White Balance Auto.setValue(false)"));
        QCOMPARE(listener.families.size(), size_t(2));
    }

    void refusedClickKeepsTheBoxAndStillRefreshesTheFamily()
    {
        CameraRig rig;
        auto& autoWb = rig.add<Fake::Boolean>("White Balance Auto", true);
        autoWb.refuseWrites = true;
        CameraControlCheckBox row(autoWb, nullptr);
        FamilyListener listener(&row);
        row.show();
        QVERIFY(QTest::qWaitForWindowExposed(&row));
        auto* box = row.findChild<QCheckBox*>();
        QVERIFY(box->isChecked());
        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(!box->isChecked());
        QVERIFY(autoWb.value);
        QCOMPARE(listener.families.size(), size_t(1));
        // Refreshes do not redisplay the value.
        row.updateState();
        QVERIFY(!box->isChecked());
    }

    // --- button ---------------------------------------------------------

    void buttonPressesOncePerClick()
    {
        CameraRig rig;
        auto& reset = rig.add<Fake::Button>("Reset", ImageAcquisition::ICameraControl::FamilyKelvane);
        CameraControlButton row(reset, nullptr);
        FamilyListener listener(&row);
        auto* button = row.findChild<QPushButton*>();
        QCOMPARE(button->text(), QString("Reset"));
        QVERIFY(row.findChildren<QLabel*>().isEmpty());
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(Fake::count("Reset.press"), 2);
        QCOMPARE(listener.families,
                 std::vector<Family>(2, ImageAcquisition::ICameraControl::FamilyKelvane));
        reset.refuseWrites = true;
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(listener.families.size(), size_t(3));
    }
};

QTEST_MAIN(TestControlRows)
#include "test_controlrows.moc"
