// The camera info dialog: the table it builds from a device description.
#include "camerainfodialog.h"
#include "fakelayer.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTranslator>
#include <QVBoxLayout>
#include <QtTest>

using CameraUI::CameraInfoDialog;

namespace {

const QStringList kLabels{"Name",
                          "System Name",
                          "Driver",
                          "Driver Version",
                          "Bus Info",
                          "Vendor Id",
                          "Product Id",
                          "Manufacturer",
                          "Serial",
                          "Supports Asynch IO",
                          "Supports Multiplane",
                          "Supports Read/Write",
                          "Supports Streaming",
                          "Supports Video Capture",
                          "Is a Kelvane Device",
                          "Firmware Version"};

QStringList column(QTableWidget* table, int col)
{
    QStringList texts;
    for (int row = 0; row < 16; ++row)
        texts << (table->item(row, col) ? table->item(row, col)->text() : QString("<none>"));
    return texts;
}

class ContextTranslator : public QTranslator
{
public:
    QString translate(const char* context, const char* source, const char*, int) const override
    {
        return QString("%1|%2").arg(context, source);
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class TestCameraInfoDialog : public QObject
{
    Q_OBJECT

private slots:
    void tableListsTheDeviceInItsOrder()
    {
        Fake::DeviceSpec spec;
        spec.readWrite = true;
        spec.multiplane = true;
        spec.kelvane = true;
        const Fake::Device device(spec);
        CameraInfoDialog dialog(&device, nullptr);
        auto* table = dialog.findChild<QTableWidget*>("tableWidget");
        QCOMPARE(table->horizontalHeaderItem(0)->text(), QString("Property"));
        QCOMPARE(table->horizontalHeaderItem(1)->text(), QString("Value"));
        QCOMPARE(column(table, 0), kLabels);
        QCOMPARE(column(table, 1),
                 QStringList({"Fake Camera", "/dev/video0", "fakedrv", "6.1.0", "usb-0000:00:14.0-1", "2f7a", "0001",
                              "Kelvane", "SN0001", "False", "True", "True", "True", "True", "True", "1.02"}));
        QCOMPARE(table->rowCount(), 17);
        QVERIFY(!table->item(16, 0));
        QVERIFY(!table->item(16, 1));
    }

    void otherMakersDeviceWithoutTexts()
    {
        Fake::DeviceSpec spec;
        spec.nullTexts = true;
        spec.streaming = false;
        spec.videoCapture = false;
        const Fake::Device device(spec);
        CameraInfoDialog dialog(&device, nullptr);
        auto* table = dialog.findChild<QTableWidget*>("tableWidget");
        QCOMPARE(column(table, 0), kLabels);
        QStringList values;
        for (int row = 0; row < 16; ++row)
            values << QString();
        for (int row = 9; row < 15; ++row)
            values[row] = "False";
        QCOMPARE(column(table, 1), values);
    }

    void noDeviceStillShowsTheProperties()
    {
        CameraInfoDialog dialog(nullptr, nullptr);
        auto* table = dialog.findChild<QTableWidget*>("tableWidget");
        QCOMPARE(column(table, 0), kLabels);
        for (const QString& value : column(table, 1))
            QVERIFY(value.isEmpty());
    }

    void nothingCanBeEditedOrSelected()
    {
        const Fake::Device device{Fake::DeviceSpec{}};
        CameraInfoDialog dialog(&device, nullptr);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        auto* table = dialog.findChild<QTableWidget*>("tableWidget");
        for (int row = 0; row < 16; ++row) {
            for (int col = 0; col < 2; ++col) {
                const Qt::ItemFlags flags = table->item(row, col)->flags();
                QVERIFY(!(flags & Qt::ItemIsEditable));
                QVERIFY(flags & Qt::ItemIsEnabled);
            }
        }
        const QRect cell = table->visualItemRect(table->item(3, 1));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QVERIFY(!table->selectionModel()->hasSelection());
        QVERIFY(!table->isPersistentEditorOpen(table->item(3, 1)));
        QVERIFY(!table->findChild<QLineEdit*>());
        QCOMPARE(table->item(3, 1)->text(), QString("6.1.0"));
    }

    void formIsBuiltAsDesigned()
    {
        const Fake::Device device{Fake::DeviceSpec{}};
        CameraInfoDialog dialog(&device, nullptr);
        QCOMPARE(dialog.metaObject()->className(), "CameraUI::CameraInfoDialog");
        QCOMPARE(dialog.objectName(), QString("CameraInfoDialog"));
        QCOMPARE(dialog.size(), QSize(629, 423));
        QCOMPARE(dialog.windowTitle(), QString("Camera Info"));
        auto* layout = qobject_cast<QVBoxLayout*>(dialog.layout());
        QCOMPARE(layout->objectName(), QString("verticalLayout"));
        auto* table = dialog.findChild<QTableWidget*>("tableWidget");
        auto* buttons = dialog.findChild<QDialogButtonBox*>("buttonBox");
        QCOMPARE(layout->itemAt(0)->widget(), table);
        QCOMPARE(layout->itemAt(1)->widget(), buttons);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::StandardButtons(QDialogButtonBox::Close));
        QVERIFY(table->alternatingRowColors());
        QCOMPARE(table->columnCount(), 2);

        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QVERIFY(table->horizontalHeader()->isVisible());
        QVERIFY(!table->verticalHeader()->isVisible());
        QCOMPARE(table->columnWidth(0), 200);
        QCOMPARE(table->columnWidth(0) + table->columnWidth(1), table->viewport()->width());
        // The empty last row takes up what is left below the sixteen filled ones.
        QCOMPARE(table->rowHeight(0), 19);
        QVERIFY(table->rowHeight(16) > 19);

        QTest::mouseClick(buttons->button(QDialogButtonBox::Close), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void onlyTheTitleIsTranslated()
    {
        ContextTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const Fake::Device device{Fake::DeviceSpec{}};
        CameraInfoDialog dialog(&device, nullptr);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(dialog.windowTitle(), QString("CameraInfoDialog|Camera Info"));
        QCOMPARE(dialog.findChild<QTableWidget*>()->item(0, 0)->text(), QString("Name"));
    }
};

QTEST_MAIN(TestCameraInfoDialog)
#include "test_camerainfodialog.moc"
