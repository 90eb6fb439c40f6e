// The settings and info dialogs: the row chosen for each control, paging, the
// family refresh, the live background, the info table, and both dialogs opened
// from the main window while cameras come and go.
#include "camerainfodialog.h"
#include "fakelayer.h"
#include "mainwindow.h"
#include "settingsdialog.h"

#include <QtTest>
#include <QtWidgets>

using CameraUI::CameraInfoDialog;
using CameraUI::SettingsDialog;
using ImageAcquisition::ICameraControl;
using ImageAcquisition::ICameraEvent;

namespace {

const QStringList kInfoLabels{"Name", "System Name", "Driver", "Driver Version", "Bus Info", "Vendor Id",
                              "Product Id", "Manufacturer", "Serial", "Supports Asynch IO", "Supports Multiplane",
                              "Supports Read/Write", "Supports Streaming", "Supports Video Capture",
                              "Is a Kelvane Device", "Firmware Version"};

template <typename T>
T* with(bool Fake::Control::*flag, T* control)
{
    control->*flag = true;
    return control;
}

template <typename T>
T& add(Fake::Camera& camera, T* control)
{
    camera.controls.emplace_back(control);
    return *control;
}

// A control of a kind without a row, shown as a label exactly `height` pixels high;
// for a negative height, a place where the camera hands out no control.
void addLabel(Fake::Camera& camera, int height)
{
    if (height < 0)
        return camera.controls.push_back(nullptr);
    add(camera, new Fake::Control("Spacer", ICameraControl::TypeBitmask)).description =
        QString("<img src=\":/icons/kelvane logo.png\" width=\"10\" height=\"%1\">").arg(height).toStdString();
}

QTabWidget* tabsOf(QDialog& dialog)
{
    return dialog.findChild<QTabWidget*>("tabWidget");
}

// The rows on one page, top to bottom, or on every page.
QVector<QWidget*> rowsOf(QDialog& dialog, int onlyPage = -1)
{
    QVector<QWidget*> rows;
    for (int page = 0; page < tabsOf(dialog)->count(); ++page) {
        QLayout* layout = tabsOf(dialog)->widget(page)->layout();
        for (int i = 0; i < layout->count(); ++i) {
            if (QWidget* row = layout->itemAt(i)->widget(); row && (onlyPage < 0 || onlyPage == page))
                rows << row;
        }
    }
    return rows;
}

QStringList cells(QTableWidget* table, int column)
{
    QStringList texts;
    for (int row = 0; row < 16; ++row)
        texts << (table->item(row, column) ? table->item(row, column)->text() : "<none>");
    return texts;
}

void showAndWait(QWidget& widget)
{
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
}

// A camera whose rows poll it: a temperature reading and the error word.
Fake::DeviceSpec polledCamera()
{
    Fake::DeviceSpec spec;
    spec.name = "Polled Camera";
    spec.controls = [] {
        std::vector<std::unique_ptr<ImageAcquisition::ICameraControl>> controls;
        controls.emplace_back(with(&Fake::Control::readOnly, new Fake::Numeric<int>("Temperature (C)", 0, 0, 1, 4523)));
        controls.emplace_back(new Fake::Numeric<int>("Error Status", 0, 0, 1, 0));
        return controls;
    };
    return spec;
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void formsAndTheirCloseButtons()
    {
        Fake::Camera camera{Fake::DeviceSpec{}};
        SettingsDialog settings(&camera, nullptr);
        QCOMPARE(settings.windowTitle(), QString("Camera settings"));
        QCOMPARE(tabsOf(settings)->count(), 0);
        CameraInfoDialog info(camera.getDevice(), nullptr);
        QCOMPARE(info.windowTitle(), QString("Camera Info"));
        for (QDialog* dialog : std::initializer_list<QDialog*>{&settings, &info}) {
            showAndWait(*dialog);
            QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close), Qt::LeftButton);
            QVERIFY(!dialog->isVisible());
            QCOMPARE(dialog->result(), int(QDialog::Rejected));
        }
        SettingsDialog withoutCamera(nullptr, nullptr);
        QCOMPARE(tabsOf(withoutCamera)->count(), 0);
        withoutCamera.updateBackground(QImage(10, 10, QImage::Format_RGB32));
        CameraInfoDialog withoutDevice(nullptr, nullptr);
        QCOMPARE(cells(withoutDevice.findChild<QTableWidget*>(), 0), kInfoLabels);
    }

    void factoryChoosesTheRow()
    {
        // The row's class, or the text of the label shown instead of a row.
        const auto rowFor = [](Fake::Control* control) {
            Fake::Camera camera{Fake::DeviceSpec{}};
            camera.controls.emplace_back(control);
            SettingsDialog dialog(&camera, nullptr);
            const auto rows = rowsOf(dialog);
            if (rows.size() != 1)
                return QString("%1 rows").arg(rows.size());
            if (auto* label = qobject_cast<QLabel*>(rows[0]))
                return label->text();
            return QString(rows[0]->metaObject()->className()).remove("CameraUI::CameraControl");
        };
        using Int = Fake::Numeric<int>;
        using Int64 = Fake::Numeric<long long>;
        const auto readOnly = &Fake::Control::readOnly;
        const std::pair<Fake::Control*, QString> cases[] = {
            {new Fake::Boolean("Auto", true), "CheckBox"},
            {new Fake::Button("Reset"), "Button"},
            {new Int("Gain", 0, 9, 1, 3), "Slider"},
            {with(readOnly, new Int("Gain", 0, 9, 1, 3)), "ROInt"},
            {with(readOnly, new Int64("Time", 0, 9, 1, 3)), "Slider"},
            {new Fake::Int64Menu("Rate", {1}, 0), "ComboBox"},
            {new Fake::String("Label", "x", 0, 4), "LineEdit"},
            {new Fake::StringMenu("Mode", {"A"}, 0), "ComboBox"},
            {with(readOnly, new Int("Error Status", 0, 0, 1, 0)), "ErrorCode"},
            {new Int("Trigger Auto Controls", 0, 7, 1, 0), "Trigger"},
            {new Int("Lock Auto Controls", 0, 7, 1, 0), "Trigger"},
            {new Int("error status", 0, 9, 1, 0), "Slider"},
            {with(&Fake::Control::nullName, new Int("Error Status", 0, 9, 1, 0)), "Slider"},
            {new Fake::Control("Pan", ICameraControl::TypeBitmask), "Pan description"},
            {new Int64("Lock Auto Controls", 0, 7, 1, 0), "Lock Auto Controls description"}};
        QStringList shown, expected;
        for (const auto& [control, row] : cases) {
            shown << rowFor(control);
            expected << row;
        }
        QCOMPARE(shown, expected);
    }

    void rowsFillPagesUpTo500Pixels()
    {
        // Label heights (-1: no control), and the rows on each page.
        const std::pair<QVector<int>, QVector<int>> cases[] = {{{200, 300, 1}, {2, 1}},
                                                               {{501, 40}, {0, 1, 1}},
                                                               {{100, 600, 100}, {1, 1, 1}},
                                                               {{100, -1, 100}, {2}}};
        for (const auto& [heights, rowsPerPage] : cases) {
            Fake::Camera camera{Fake::DeviceSpec{}};
            for (int height : heights)
                addLabel(camera, height);
            SettingsDialog dialog(&camera, nullptr);
            QTabWidget* tabs = tabsOf(dialog);
            QCOMPARE(tabs->count(), rowsPerPage.size());
            for (int page = 0, index = 0; page < tabs->count(); ++page) {
                QCOMPARE(tabs->tabText(page), QString("Page %1").arg(page + 1));
                auto* layout = qobject_cast<QBoxLayout*>(tabs->widget(page)->layout());
                const auto rows = rowsOf(dialog, page);
                QCOMPARE(rows.size(), rowsPerPage[page]);
                for (int r = 0; r < rows.size(); ++r, ++index) {
                    index += heights[index] < 0 ? 1 : 0;
                    QCOMPARE(rows[r]->sizeHint().height(), heights[index]);
                    // The stretch factor is the control's index, not the place on the page.
                    QCOMPARE(layout->stretch(r), index);
                }
            }
        }
    }

    void changeRefreshesItsFamilyOnEveryPagePastAFailingRow()
    {
        Fake::Camera camera{Fake::DeviceSpec{}};
        const auto family = ICameraControl::FamilyCamera;
        auto& autoExposure = add(camera, new Fake::Boolean("Auto Exposure", false, family));
        addLabel(camera, 499);
        add(camera, new Fake::Numeric<int>("Broken", 0, 9, 1, 0, family)).throwOnRefresh = true;
        auto& exposure = add(camera, new Fake::Numeric<int>("Exposure", 0, 100, 1, 10, family));
        add(camera, new Fake::StringMenu("Mode", {"A"}, 0));
        SettingsDialog dialog(&camera, nullptr);
        showAndWait(dialog);
        QVERIFY(tabsOf(dialog)->count() >= 3);

        exposure.value = 77;
        Fake::clearCalls();
        QTest::mouseClick(rowsOf(dialog)[0]->findChild<QCheckBox*>(), Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QVERIFY(autoExposure.value);
        std::vector<std::string> refreshed;
        for (const auto& call : Fake::calls()) {
            if (QString::fromStdString(call).endsWith(".refresh"))
                refreshed.push_back(call);
        }
        QCOMPARE(refreshed, std::vector<std::string>({"Auto Exposure.refresh", "Broken.refresh", "Exposure.refresh"}));
        QCOMPARE(rowsOf(dialog)[3]->findChild<QSlider*>()->value(), 77);
    }

    void pictureIsPaintedBehindTheCurrentPage()
    {
        Fake::Camera camera{Fake::DeviceSpec{}};
        addLabel(camera, 400);
        addLabel(camera, 400);
        SettingsDialog dialog(&camera, nullptr);
        QTabWidget* tabs = tabsOf(dialog);
        const auto background = [tabs](int page) {
            return tabs->widget(page)->palette().brush(QPalette::Inactive, QPalette::Window).texture();
        };
        QImage red(1600, 1200, QImage::Format_RGB32);
        red.fill(Qt::red);
        dialog.updateBackground(red);
        QCOMPARE(background(0).size(), QSize(800, 600));
        QCOMPARE(background(0).toImage().pixelColor(5, 5), QColor(Qt::red));
        QVERIFY(background(1).isNull());
        tabs->setCurrentIndex(1);
        dialog.updateBackground(QImage(400, 100, QImage::Format_RGB32));
        QCOMPARE(background(1).size(), QSize(800, 200));
        // A frame that could not be converted keeps the picture.
        dialog.updateBackground(QImage());
        QCOMPARE(background(1).size(), QSize(800, 200));
    }

    void infoTableListsTheDevice()
    {
        const QStringList maker{"Fake Camera", "/dev/video0", "fakedrv", "6.1.0", "usb-0000:00:14.0-1", "2f7a",
                                "0001", "Kelvane", "SN0001", "False", "True", "False", "True", "False", "True", "1.02"};
        const QStringList other{"", "", "", "", "", "", "", "", "",
                                "False", "False", "False", "True", "True", "False", ""};
        for (const bool kelvane : {true, false}) {
            Fake::DeviceSpec spec;
            spec.multiplane = spec.kelvane = kelvane;
            spec.nullTexts = spec.videoCapture = !kelvane;
            const Fake::Device device(spec);
            CameraInfoDialog dialog(&device, nullptr);
            showAndWait(dialog);
            auto* table = dialog.findChild<QTableWidget*>();
            QCOMPARE(table->horizontalHeaderItem(0)->text() + table->horizontalHeaderItem(1)->text(),
                     QString("PropertyValue"));
            QCOMPARE(cells(table, 0), kInfoLabels);
            QCOMPARE(cells(table, 1), kelvane ? maker : other);
            QVERIFY(table->rowCount() == 17 && !table->item(16, 0) && !table->item(16, 1));
            const QPoint cell = table->visualItemRect(table->item(3, 1)).center();
            QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
            QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
            QVERIFY(!table->selectionModel()->hasSelection() && !table->findChild<QLineEdit*>());
        }
    }

    void dialogsShowTheOpenCameraAndCloseWhenCamerasComeAndGo()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(polledCamera());
        MainWindow window;
        showAndWait(window);

        QPointer<SettingsDialog> settings;
        bool shown = false;
        // Keeps the event loop busy until the rows' first polls are due, so that
        // they fall due together with the camera event and are delivered in the
        // same pass, after the dialog has been closed and the camera replaced.
        QTimer::singleShot(50, &window, [&] {
            settings = qobject_cast<SettingsDialog*>(QApplication::activeModalWidget());
            QVERIFY(settings);
            emit window.newImage(QImage(640, 480, QImage::Format_RGB32));
            const QPixmap background = tabsOf(*settings)->currentWidget()->palette().brush(QPalette::Window).texture();
            shown = settings->parentWidget() == &window && settings->findChild<QLineEdit*>()->text() == "45.23"
                    && background.size() == QSize(800, 600);
            layer.devices.assign(1, Fake::DeviceSpec{});
            layer.devices[0].name = "Other Camera";
            QThread::msleep(800);
        });
        QTimer::singleShot(300, &window, [&] { layer.emitEvent(ICameraEvent::CameraRemoved); });
        window.findChild<QAction*>("actionSettings")->trigger();
        QVERIFY(shown && settings.isNull());
        emit window.newImage(QImage(8, 8, QImage::Format_RGB32));
        QTest::qWait(600);
        const auto calls = Fake::calls();
        const auto released = std::find(calls.begin(), calls.end(), "~Camera(Polled Camera)");
        QVERIFY(released != calls.end());
        const auto polled = [](const std::string& call) {
            return call.rfind("Temperature (C).", 0) == 0 || call.rfind("Error Status.", 0) == 0;
        };
        QVERIFY(std::any_of(calls.begin(), released, polled));
        QVERIFY(std::none_of(released, calls.end(), polled));

        QString shownName;
        QPointer<QWidget> info;
        QTimer::singleShot(100, &window, [&] {
            info = qobject_cast<CameraInfoDialog*>(QApplication::activeModalWidget());
            QVERIFY(info);
            shownName = info->findChild<QTableWidget*>()->item(0, 1)->text();
            layer.devices = {polledCamera()};
            layer.emitEvent(ICameraEvent::CameraAdded);
        });
        window.findChild<QAction*>("actionInfo")->trigger();
        QCOMPARE(shownName, QString("Other Camera"));
        QVERIFY(info.isNull());
        QCOMPARE(layer.camera()->device.spec.name, std::string("Polled Camera"));
    }
};

QTEST_MAIN(TestDialogs)
#include "test_dialogs.moc"
