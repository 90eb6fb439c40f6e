// The read-only integer row, the error status panel and the trigger panel:
// formatting, polling, masks, and failures of the camera while polling.
#include "camerarig.h"
#include "cameracontrolerrorcode.h"
#include "cameracontrolroint.h"
#include "cameracontroltrigger.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

using namespace CameraUI;

namespace {

const QStringList kErrorTexts{"Over Temperature", "Video DMA",      "GPIF",           "Image Sensor",
                              "Debug Print",      "I/O",            "IO Supply",      "Flash",
                              "USB",              "USB Video",      "USB UART",       "USB Bootloader",
                              "MIPI",             "Liquid Lens",    "Application",    "Auto Diagnosis",
                              "USB Not Connected", "Trigger timeout", "Not in focus", "Error All"};

// The texts of the entries whose box is checked, in grid order.
QStringList checkedEntries(QWidget& panel)
{
    auto* grid = panel.findChild<QGridLayout*>();
    QStringList checked;
    for (int row = 0; row < grid->rowCount(); ++row) {
        for (int column = 0; column + 1 < grid->columnCount(); column += 2) {
            QLayoutItem* boxItem = grid->itemAtPosition(row, column);
            QLayoutItem* labelItem = grid->itemAtPosition(row, column + 1);
            auto* box = boxItem ? qobject_cast<QCheckBox*>(boxItem->widget()) : nullptr;
            auto* label = labelItem ? qobject_cast<QLabel*>(labelItem->widget()) : nullptr;
            if (box && label && box->isChecked())
                checked << label->text();
        }
    }
    return checked;
}

QStringList gridTexts(QWidget& panel)
{
    auto* grid = panel.findChild<QGridLayout*>();
    QStringList texts;
    for (int row = 0; row < grid->rowCount(); ++row) {
        for (int column = 1; column < grid->columnCount(); column += 2) {
            QLayoutItem* item = grid->itemAtPosition(row, column);
            if (auto* label = item ? qobject_cast<QLabel*>(item->widget()) : nullptr)
                texts << label->text();
        }
    }
    return texts;
}

QPushButton* panelButton(QWidget& panel)
{
    return panel.findChild<QPushButton*>();
}

} // namespace

class TestStatusRows : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::clearCalls(); }

    // --- read-only integer ----------------------------------------------

    void readOnlyValueFormats_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("shown");
        QTest::newRow("hundredths") << "Temperature (C)" << 4523 << "45.23";
        QTest::newRow("whole degrees") << "Temperature (C)" << 2500 << "25";
        QTest::newRow("below zero") << "Temperature (C)" << -150 << "-1.5";
        QTest::newRow("zero") << "Temperature (C)" << 0 << "0";
        QTest::newRow("six digits") << "Temperature (C)" << 12345678 << "123457";
        QTest::newRow("exponent") << "Temperature (C)" << 100000000 << "1e+06";
        QTest::newRow("other name") << "Frame Counter" << -42 << "-42";
        QTest::newRow("other name, large") << "Frame Counter" << 1234567 << "1234567";
        QTest::newRow("letter case differs") << "temperature (c)" << 4523 << "4523";
        QTest::newRow("other unit") << "Temperature (F)" << 4523 << "4523";
    }

    void readOnlyValueFormats()
    {
        QFETCH(QString, name);
        QFETCH(int, value);
        QFETCH(QString, shown);
        CameraRig rig;
        auto& control = rig.add<Fake::Numeric<int>>(name.toStdString(), -1, 1, 1, value);
        control.readOnly = true;
        CameraControlROInt row(control, nullptr);
        auto* field = row.findChild<QLineEdit*>();
        QCOMPARE(field->text(), shown);
        QVERIFY(field->isReadOnly());
        QCOMPARE(row.findChild<QLabel*>()->text(), name + " :");
        QCOMPARE(row.frameStyle(), 0x31);
    }

    void readOnlyRowWithoutNameIsAPlainNumber()
    {
        CameraRig rig;
        auto& control = rig.add<Fake::Numeric<int>>("Temperature (C)", 0, 0, 1, 4523);
        control.nullName = true;
        CameraControlROInt row(control, nullptr);
        QCOMPARE(row.findChild<QLabel*>()->text(), QString(" :"));
        QCOMPARE(row.findChild<QLineEdit*>()->text(), QString("4523"));
    }

    void readOnlyRowPollsTwiceASecond()
    {
        CameraRig rig;
        auto& control = rig.add<Fake::Numeric<int>>("Temperature (C)", 0, 0, 1, 2500);
        CameraControlROInt row(control, nullptr);
        QCOMPARE(control.refreshCount, 0);
        auto* timer = row.findChild<QTimer*>();
        QVERIFY(timer && timer->isActive());
        QCOMPARE(timer->interval(), 500);
        QVERIFY(!timer->isSingleShot());

        control.value = 3125;
        QTRY_COMPARE_WITH_TIMEOUT(row.findChild<QLineEdit*>()->text(), QString("31.25"), 2000);
        QCOMPARE(control.refreshCount, 1);
        QTRY_COMPARE_WITH_TIMEOUT(control.refreshCount, 2, 2000);
    }

    void readOnlyRowSurvivesAFailingCamera()
    {
        CameraRig rig;
        auto& control = rig.add<Fake::Numeric<int>>("Temperature (C)", 0, 0, 1, 2500);
        CameraControlROInt row(control, nullptr);
        control.throwOnRefresh = true;
        control.value = 9999;
        row.updateSlot();
        QCOMPARE(row.findChild<QLineEdit*>()->text(), QString("25"));
        control.throwOnRefresh = false;
        row.updateSlot();
        QCOMPARE(row.findChild<QLineEdit*>()->text(), QString("99.99"));
    }

    // --- error status ---------------------------------------------------

    void errorPanelLaysOutTwentyIndicators()
    {
        CameraRig rig;
        auto& status = rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0);
        CameraControlErrorCode panel(status, nullptr);
        QCOMPARE(gridTexts(panel), kErrorTexts);
        auto* grid = panel.findChild<QGridLayout*>();
        QCOMPARE(grid->rowCount(), 4);
        QCOMPARE(grid->columnCount(), 10);
        QCOMPARE(panelButton(panel)->text(), QString("Clear Errors"));
        for (QCheckBox* box : panel.findChildren<QCheckBox*>()) {
            QCOMPARE(box->focusPolicy(), Qt::NoFocus);
            QVERIFY(box->text().isEmpty());
        }
        for (QLabel* label : panel.findChildren<QLabel*>())
            QCOMPARE(label->styleSheet(), QString("QLabel { color : white;}"));
        // The camera's state shows at once, before the first tick.
        QCOMPARE(status.refreshCount, 1);
    }

    void errorPanelShowsTheWordsBits_data()
    {
        QTest::addColumn<int>("word");
        QTest::addColumn<QStringList>("checked");
        QTest::newRow("no error") << 0 << QStringList();
        QTest::newRow("two bits") << 0x00020001 << QStringList({"Over Temperature", "Trigger timeout"});
        QTest::newRow("all single bits") << 0x0007FFFF << QStringList(kErrorTexts.mid(0, 19));
        QTest::newRow("all 32 bits") << -1 << kErrorTexts;
        QTest::newRow("bit 19") << 0x00080000 << QStringList();
        QTest::newRow("bit 31") << int(0x80000000u) << QStringList();
        QTest::newRow("high bits and GPIF") << int(0xFFF80004u) << QStringList({"GPIF"});
    }

    void errorPanelShowsTheWordsBits()
    {
        QFETCH(int, word);
        QFETCH(QStringList, checked);
        CameraRig rig;
        auto& status = rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, word);
        CameraControlErrorCode panel(status, nullptr);
        QCOMPARE(checkedEntries(panel), checked);
        // And again through a refresh, from a clean state.
        status.value = 0;
        panel.updateState();
        QCOMPARE(checkedEntries(panel), QStringList());
        status.value = word;
        panel.updateSlot();
        QCOMPARE(checkedEntries(panel), checked);
    }

    void errorIndicatorsIgnoreTheUser()
    {
        CameraRig rig;
        auto& status = rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0);
        CameraControlErrorCode panel(status, nullptr);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        auto* box = panel.findChildren<QCheckBox*>().first();
        // Clicked where the user would, through the window.
        const QPoint at = box->mapTo(&panel, box->rect().center());
        QTest::mouseClick(panel.windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QVERIFY(!box->isChecked());
        QVERIFY(!Fake::called("Error Status.setValue"));
    }

    void clearErrorsWritesAllBitsOncePerClick()
    {
        CameraRig rig;
        auto& status = rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0x1);
        CameraControlErrorCode panel(status, nullptr);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QCOMPARE(Fake::count("Error Status.setValue(-1)"), 1);
        // The boxes wait for the next poll.
        QCOMPARE(checkedEntries(panel), QStringList({"Over Temperature"}));
        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QCOMPARE(Fake::count("Error Status.setValue"), 2);
        status.refuseWrites = true;
        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QCOMPARE(Fake::count("Error Status.setValue"), 3);
    }

    void errorPanelPollsAndSurvivesAFailingCamera()
    {
        CameraRig rig;
        auto& status = rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0);
        status.throwOnRefresh = true;
        // Even the first read, while being built, may fail.
        CameraControlErrorCode panel(status, nullptr);
        QCOMPARE(checkedEntries(panel), QStringList());
        auto* timer = panel.findChild<QTimer*>();
        QVERIFY(timer && timer->isActive());
        QCOMPARE(timer->interval(), 500);

        status.throwOnRefresh = false;
        status.value = 0x8;
        QTRY_COMPARE_WITH_TIMEOUT(checkedEntries(panel), QStringList({"Image Sensor"}), 2000);
        status.throwOnRefresh = true;
        status.value = 0;
        const int before = status.refreshCount;
        QTRY_VERIFY_WITH_TIMEOUT(status.refreshCount > before, 2000);
        QCOMPARE(checkedEntries(panel), QStringList({"Image Sensor"}));
    }

    // --- trigger panel --------------------------------------------------

    void triggerPanelStartsBlankWithoutAskingTheCamera()
    {
        CameraRig rig;
        auto& trigger = rig.add<Fake::Numeric<int>>("Trigger Auto Controls", 0, 7, 1, 7);
        CameraControlTrigger panel(trigger, nullptr);
        QCOMPARE(gridTexts(panel), QStringList({"Exposure", "Focus", "White Balance"}));
        QCOMPARE(checkedEntries(panel), QStringList());
        QCOMPARE(trigger.refreshCount, 0);
        QVERIFY(!Fake::called("Trigger Auto Controls.getValue"));
        QCOMPARE(panelButton(panel)->text(), QString("Trigger Auto Controls"));
        QVERIFY(!panel.findChild<QTimer*>());
        // The filler after the three pairs keeps them at the left.
        auto* grid = panel.findChild<QGridLayout*>();
        QLayoutItem* filler = grid->itemAtPosition(0, 6);
        QVERIFY(filler && filler->widget());
        QCOMPARE(filler->widget()->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(filler->widget()->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    }

    void lockPanelCarriesItsOwnName()
    {
        CameraRig rig;
        auto& lock = rig.add<Fake::Numeric<int>>("Lock Auto Controls", 0, 7, 1, 0);
        CameraControlTrigger panel(lock, nullptr);
        QCOMPARE(panelButton(panel)->text(), QString("Lock Auto Controls"));
    }

    void sendingWritesTheMaskOfTheCheckedEntries()
    {
        CameraRig rig;
        auto& trigger = rig.add<Fake::Numeric<int>>("Trigger Auto Controls", 0, 7, 1, 0);
        CameraControlTrigger panel(trigger, nullptr);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        const auto boxes = panel.findChildren<QCheckBox*>();
        QTest::mouseClick(boxes[0], Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QTest::mouseClick(boxes[2], Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QCOMPARE(checkedEntries(panel), QStringList({"Exposure", "White Balance"}));

        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QCOMPARE(trigger.value, 5);
        QCOMPARE(checkedEntries(panel), QStringList());
        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QCOMPARE(trigger.value, 0);
        const auto calls = Fake::calls();
        QCOMPARE(std::count(calls.begin(), calls.end(), "Trigger Auto Controls.setValue(5)"), 1L);
        QCOMPARE(std::count(calls.begin(), calls.end(), "Trigger Auto Controls.setValue(0)"), 1L);
    }

    void refusedSendKeepsTheChoice()
    {
        CameraRig rig;
        auto& trigger = rig.add<Fake::Numeric<int>>("Trigger Auto Controls", 0, 7, 1, 0);
        trigger.refuseWrites = true;
        CameraControlTrigger panel(trigger, nullptr);
        panel.findChildren<QCheckBox*>()[1]->setChecked(true);
        QTest::mouseClick(panelButton(panel), Qt::LeftButton);
        QVERIFY(Fake::called("Trigger Auto Controls.setValue(2)"));
        QCOMPARE(checkedEntries(panel), QStringList({"Focus"}));
    }

    void refreshShowsTheCameraTriggers()
    {
        CameraRig rig;
        auto& trigger = rig.add<Fake::Numeric<int>>("Trigger Auto Controls", 0, 7, 1, 6);
        CameraControlTrigger panel(trigger, nullptr);
        panel.updateState();
        QCOMPARE(checkedEntries(panel), QStringList({"Focus", "White Balance"}));
        trigger.value = 0xF9;
        panel.updateState();
        QCOMPARE(checkedEntries(panel), QStringList({"Exposure"}));
        QCOMPARE(trigger.refreshCount, 2);
    }
};

QTEST_MAIN(TestStatusRows)
#include "test_statusrows.moc"
