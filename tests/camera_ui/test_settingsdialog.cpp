// The settings dialog: its form, the row chosen for each control, paging by
// height, the family refresh, the live background, and what happens once the
// dialog has finished.
#include "camerarig.h"
#include "cameracontrolbase.h"
#include "settingsdialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpacerItem>
#include <QTimer>
#include <QTranslator>
#include <QVBoxLayout>
#include <QtTest>

#include <functional>

using CameraUI::CameraControlBase;
using CameraUI::SettingsDialog;
using ImageAcquisition::ICameraControl;

namespace {

const char* const kStyleSheet = "QSlider::groove:horizontal {\n"
                                "border: 10px solid #AAA;\n"
                                "height: 8px;\n"
                                "background: #9AD9EB;\n"
                                "margin: 2px 0;\n"
                                "}\n"
                                "\n"
                                "QSlider::handle:horizontal {\n"
                                "background: #0080FA;\n"
                                "border: 1px solid gray;\n"
                                "width: 50px;\n"
                                "margin: -24px 0;\n"
                                "border-radius: 25px;\n"
                                "}\n"
                                "\n"
                                "QCheckBox::indicator {\n"
                                "    width: 43px;\n"
                                "    height: 43px;\n"
                                "}";

QTabWidget* tabsOf(QDialog& dialog)
{
    return dialog.findChild<QTabWidget*>("tabWidget");
}

QVector<QWidget*> allRows(QDialog& dialog)
{
    QVector<QWidget*> rows;
    QTabWidget* tabs = tabsOf(dialog);
    for (int page = 0; page < tabs->count(); ++page)
        rows += rowsOfPage(tabs, page);
    return rows;
}

QString className(QWidget* widget)
{
    return widget->metaObject()->className();
}

// Answers every text with its context, to show which context was asked.
class ContextTranslator : public QTranslator
{
public:
    QString translate(const char* context, const char* source, const char*, int) const override
    {
        return QString("%1|%2").arg(context, source);
    }
    bool isEmpty() const override { return false; }
};

using ControlMaker = std::function<void(CameraRig&)>;

} // namespace

Q_DECLARE_METATYPE(ControlMaker)

class TestSettingsDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::clearCalls(); }

    // --- form -----------------------------------------------------------

    void formIsBuiltAsDesigned()
    {
        CameraRig rig;
        SettingsDialog dialog(&rig.camera, nullptr);
        QCOMPARE(dialog.objectName(), QString("SettingsDialog"));
        QCOMPARE(dialog.size(), QSize(800, 600));
        QCOMPARE(dialog.minimumSize(), QSize(800, 600));
        QCOMPARE(dialog.maximumSize(), QSize(800, 600));
        QCOMPARE(dialog.windowOpacity(), 1.0);
        QCOMPARE(dialog.styleSheet(), QString(kStyleSheet));
        QCOMPARE(dialog.styleSheet().size(), 293);
        QCOMPARE(dialog.windowTitle(), QString("Camera settings"));

        auto* layout = qobject_cast<QVBoxLayout*>(dialog.layout());
        QVERIFY(layout);
        QCOMPARE(layout->objectName(), QString("verticalLayout"));
        QTabWidget* tabs = tabsOf(dialog);
        QCOMPARE(layout->itemAt(0)->widget(), tabs);
        QCOMPARE(tabs->maximumSize(), QSize(780, 550));
        auto* buttons = dialog.findChild<QDialogButtonBox*>("buttonBox");
        QCOMPARE(layout->itemAt(1)->widget(), buttons);
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::StandardButtons(QDialogButtonBox::Close));

        // A camera without controls leaves the tab widget empty.
        QCOMPARE(tabs->count(), 0);
        QCOMPARE(tabs->currentIndex(), -1);
    }

    void closeButtonRejects()
    {
        CameraRig rig;
        SettingsDialog dialog(&rig.camera, nullptr);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void titleIsTranslatedInTheFormsContext()
    {
        ContextTranslator translator;
        QCoreApplication::installTranslator(&translator);
        CameraRig rig;
        SettingsDialog dialog(&rig.camera, nullptr);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(dialog.windowTitle(), QString("SettingsDialog|Camera settings"));
    }

    void noCameraGivesAnEmptyDialog()
    {
        SettingsDialog dialog(nullptr, nullptr);
        QCOMPARE(tabsOf(dialog)->count(), 0);
        dialog.updateBackground(QImage(10, 10, QImage::Format_RGB32));
    }

    // --- the factory ----------------------------------------------------

    void factoryChoosesTheRow_data()
    {
        QTest::addColumn<ControlMaker>("make");
        QTest::addColumn<QString>("row");
        QTest::addColumn<bool>("enabled");

        using F = Fake::Numeric<int>;
        using F64 = Fake::Numeric<long long>;
        const auto readOnly = [](Fake::Control& c) { c.readOnly = true; };

        QTest::newRow("boolean") << ControlMaker([](CameraRig& r) { r.add<Fake::Boolean>("Auto", true); })
                                 << "CameraUI::CameraControlCheckBox" << true;
        QTest::newRow("button") << ControlMaker([](CameraRig& r) { r.add<Fake::Button>("Reset"); })
                                << "CameraUI::CameraControlButton" << true;
        QTest::newRow("integer") << ControlMaker([](CameraRig& r) { r.add<F>("Gain", 0, 9, 1, 3); })
                                 << "CameraUI::CameraControlSlider" << true;
        QTest::newRow("read-only integer")
            << ControlMaker([=](CameraRig& r) { readOnly(r.add<F>("Gain", 0, 9, 1, 3)); })
            << "CameraUI::CameraControlROInt" << true;
        QTest::newRow("64-bit integer") << ControlMaker([](CameraRig& r) { r.add<F64>("Time", 0, 9, 1, 3); })
                                        << "CameraUI::CameraControlSlider" << true;
        QTest::newRow("read-only 64-bit integer")
            << ControlMaker([=](CameraRig& r) { readOnly(r.add<F64>("Time", 0, 9, 1, 3)); })
            << "CameraUI::CameraControlSlider" << false;
        QTest::newRow("integer menu")
            << ControlMaker([](CameraRig& r) { r.add<Fake::Int64Menu>("Rate", std::vector<long long>{1}, 0); })
            << "CameraUI::CameraControlComboBox" << true;
        QTest::newRow("text")
            << ControlMaker([](CameraRig& r) { r.add<Fake::String>("Label", "x", 0, 4); })
            << "CameraUI::CameraControlLineEdit" << true;
        QTest::newRow("text menu")
            << ControlMaker([](CameraRig& r) { r.add<Fake::StringMenu>("Mode", std::vector<std::string>{"A"}, 0); })
            << "CameraUI::CameraControlComboBox" << true;
        QTest::newRow("read-only boolean")
            << ControlMaker([=](CameraRig& r) { readOnly(r.add<Fake::Boolean>("Auto", true)); })
            << "CameraUI::CameraControlCheckBox" << false;
        QTest::newRow("error status, whatever its type")
            << ControlMaker([=](CameraRig& r) { readOnly(r.add<F>("Error Status", 0, 0, 1, 0)); })
            << "CameraUI::CameraControlErrorCode" << true;
        QTest::newRow("trigger") << ControlMaker([](CameraRig& r) { r.add<F>("Trigger Auto Controls", 0, 7, 1, 0); })
                                 << "CameraUI::CameraControlTrigger" << true;
        QTest::newRow("lock") << ControlMaker([](CameraRig& r) { r.add<F>("Lock Auto Controls", 0, 7, 1, 0); })
                              << "CameraUI::CameraControlTrigger" << true;
        QTest::newRow("special name in another case")
            << ControlMaker([](CameraRig& r) { r.add<F>("error status", 0, 9, 1, 0); })
            << "CameraUI::CameraControlSlider" << true;
        QTest::newRow("control without name")
            << ControlMaker([](CameraRig& r) { r.add<F>("Error Status", 0, 9, 1, 0).nullName = true; })
            << "CameraUI::CameraControlSlider" << true;
    }

    void factoryChoosesTheRow()
    {
        QFETCH(ControlMaker, make);
        QFETCH(QString, row);
        QFETCH(bool, enabled);
        CameraRig rig;
        make(rig);
        SettingsDialog dialog(&rig.camera, nullptr);
        const auto rows = allRows(dialog);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(className(rows[0]), row);
        auto* base = qobject_cast<CameraControlBase*>(rows[0]);
        QVERIFY(base);
        QCOMPARE(&base->control(), rig.camera.getControl(0));
        // Every input widget of the row follows the editability of its control.
        for (QWidget* input : rows[0]->findChildren<QWidget*>()) {
            if (qobject_cast<QSlider*>(input) || qobject_cast<QCheckBox*>(input))
                QCOMPARE(input->isEnabled(), enabled);
        }
    }

    void controlsWithoutARowShowTheirDescription_data()
    {
        QTest::addColumn<ControlMaker>("make");
        QTest::addColumn<QString>("text");

        QTest::newRow("kind without row") << ControlMaker([](CameraRig& r) {
            r.add<Fake::Control>("Pan", 7).description = "Pan and tilt";
        }) << "Pan and tilt";
        QTest::newRow("compound kind") << ControlMaker([](CameraRig& r) { r.add<Fake::Control>("Roi", 12); })
                                       << "Roi description";
        QTest::newRow("code 4 without the integer interface")
            << ControlMaker([](CameraRig& r) { r.add<Fake::Control>("Odd", 4); }) << "Odd description";
        QTest::newRow("code 11 without the menu interface")
            << ControlMaker([](CameraRig& r) { r.add<Fake::Control>("Odd", 11); }) << "Odd description";
        QTest::newRow("error status on a boolean")
            << ControlMaker([](CameraRig& r) { r.add<Fake::Boolean>("Error Status", true); })
            << "Error Status description";
        QTest::newRow("lock on a 64-bit integer")
            << ControlMaker([](CameraRig& r) { r.add<Fake::Numeric<long long>>("Lock Auto Controls", 0, 7, 1, 0); })
            << "Lock Auto Controls description";
    }

    void controlsWithoutARowShowTheirDescription()
    {
        QFETCH(ControlMaker, make);
        QFETCH(QString, text);
        CameraRig rig;
        make(rig);
        SettingsDialog dialog(&rig.camera, nullptr);
        const auto rows = allRows(dialog);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(className(rows[0]), QString("QLabel"));
        auto* label = qobject_cast<QLabel*>(rows[0]);
        QCOMPARE(label->text(), text);
        QVERIFY(!label->graphicsEffect());
        QVERIFY(label->styleSheet().isEmpty());
    }

    void missingControlIsSkipped()
    {
        CameraRig rig;
        rig.add<Fake::Boolean>("First", true);
        rig.camera.controls.push_back(nullptr);
        rig.add<Fake::Boolean>("Third", true);
        SettingsDialog dialog(&rig.camera, nullptr);
        const auto rows = allRows(dialog);
        QCOMPARE(rows.size(), 2);
        auto* layout = qobject_cast<QBoxLayout*>(tabsOf(dialog)->widget(0)->layout());
        QCOMPARE(layout->stretch(1), 2);
    }

    // --- paging ---------------------------------------------------------

    void rowsFillPagesUpTo500Pixels_data()
    {
        QTest::addColumn<QVector<int>>("heights");
        QTest::addColumn<QVector<int>>("rowsPerPage");
        QTest::newRow("100 px rows, five a page") << QVector<int>(6, 100) << QVector<int>{5, 1};
        QTest::newRow("250 px rows, two a page") << QVector<int>(3, 250) << QVector<int>{2, 1};
        QTest::newRow("exactly 500 fits") << QVector<int>{200, 300, 1} << QVector<int>{2, 1};
        QTest::newRow("first row too tall") << QVector<int>{501, 40} << QVector<int>{0, 1, 1};
        QTest::newRow("tall row stands alone") << QVector<int>{100, 600, 100} << QVector<int>{1, 1, 1};
        QTest::newRow("twelve small rows") << QVector<int>(12, 40) << QVector<int>{12};
    }

    void rowsFillPagesUpTo500Pixels()
    {
        QFETCH(QVector<int>, heights);
        QFETCH(QVector<int>, rowsPerPage);
        CameraRig rig;
        for (int height : heights)
            rig.addLabelOfHeight(height);
        SettingsDialog dialog(&rig.camera, nullptr);
        QTabWidget* tabs = tabsOf(dialog);

        QCOMPARE(tabs->count(), rowsPerPage.size());
        QCOMPARE(tabs->currentIndex(), 0);
        int index = 0;
        for (int page = 0; page < tabs->count(); ++page) {
            QCOMPARE(tabs->tabText(page), QString("Page %1").arg(page + 1));
            QWidget* pageWidget = tabs->widget(page);
            QVERIFY(pageWidget->autoFillBackground());
            auto* layout = qobject_cast<QVBoxLayout*>(pageWidget->layout());
            QCOMPARE(layout->contentsMargins(), QMargins(6, 6, 6, 6));
            const auto rows = rowsOfPage(tabs, page);
            QCOMPARE(rows.size(), rowsPerPage[page]);
            for (int r = 0; r < rows.size(); ++r, ++index) {
                QCOMPARE(rows[r]->sizeHint().height(), heights[index]);
                // The stretch factor is the control's index, not the place on the page.
                QCOMPARE(layout->stretch(r), index);
            }
            QCOMPARE(layout->count(), rows.size() + 1);
            QVERIFY(layout->itemAt(rows.size())->spacerItem());
            QCOMPARE(layout->stretch(rows.size()), 1000);
        }
        QCOMPARE(index, heights.size());
    }

    void realRowsArePagedByTheirOwnHeight()
    {
        // A camera like the maker's: a page cannot hold all of it.
        CameraRig rig;
        for (int i = 0; i < 3; ++i) {
            rig.add<Fake::Numeric<int>>("Gain " + std::to_string(i), 0, 9, 1, 0);
            rig.add<Fake::Boolean>("Auto " + std::to_string(i), true);
            rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0);
            rig.add<Fake::StringMenu>("Mode " + std::to_string(i), std::vector<std::string>{"A"}, 0);
            rig.add<Fake::Numeric<int>>("Trigger Auto Controls", 0, 7, 1, 0);
        }
        SettingsDialog dialog(&rig.camera, nullptr);
        QTabWidget* tabs = tabsOf(dialog);
        QVERIFY(tabs->count() > 1);
        QCOMPARE(allRows(dialog).size(), 15);
        const auto heightOf = [&](int page) {
            int sum = 0;
            for (QWidget* row : rowsOfPage(tabs, page))
                sum += row->sizeHint().height();
            return sum;
        };
        for (int page = 0; page < tabs->count(); ++page) {
            QVERIFY(heightOf(page) <= 500);
            // A page was closed only because its next row did not fit.
            if (page + 1 < tabs->count())
                QVERIFY(heightOf(page) + rowsOfPage(tabs, page + 1).first()->sizeHint().height() > 500);
        }
    }

    // --- family refresh -------------------------------------------------

    void changeRefreshesItsFamilyOnEveryPage()
    {
        CameraRig rig;
        auto& autoExposure = rig.add<Fake::Boolean>("Auto Exposure", false, ICameraControl::FamilyCamera);
        // A row nearly a page high pushes what follows onto other pages.
        rig.addLabelOfHeight(499);
        auto& broken = rig.add<Fake::Numeric<int>>("Broken", 0, 9, 1, 0, ICameraControl::FamilyCamera);
        broken.throwOnRefresh = true;
        auto& exposure = rig.add<Fake::Numeric<int>>("Exposure", 0, 100, 1, 10, ICameraControl::FamilyCamera);
        exposure.onRefresh = [&] { exposure.value = 77; };
        auto& mode = rig.add<Fake::StringMenu>("Mode", std::vector<std::string>{"A", "B"}, 0);

        SettingsDialog dialog(&rig.camera, nullptr);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTabWidget* tabs = tabsOf(dialog);
        QVERIFY(tabs->count() >= 3);
        QWidget* exposureRow = nullptr;
        for (int page = 1; page < tabs->count(); ++page) {
            for (QWidget* row : rowsOfPage(tabs, page)) {
                auto* base = qobject_cast<CameraControlBase*>(row);
                if (base && &base->control() == static_cast<ICameraControl*>(&exposure))
                    exposureRow = row;
            }
        }
        QVERIFY(exposureRow);

        Fake::clearCalls();
        auto* box = rowsOfPage(tabs, 0).first()->findChild<QCheckBox*>();
        QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QVERIFY(autoExposure.value);

        std::vector<std::string> refreshed;
        for (const auto& call : Fake::calls()) {
            if (call.size() > 8 && call.compare(call.size() - 8, 8, ".refresh") == 0)
                refreshed.push_back(call);
        }
        // In creation order, past the row that failed, and none of another family.
        QCOMPARE(refreshed, std::vector<std::string>({"Auto Exposure.refresh", "Broken.refresh", "Exposure.refresh"}));
        QCOMPARE(mode.refreshCount, 0);
        QCOMPARE(exposureRow->findChild<QSlider*>()->value(), 77);
    }

    // --- background -----------------------------------------------------

    void pictureIsPaintedBehindTheCurrentPage()
    {
        CameraRig rig;
        rig.addLabelOfHeight(400);
        rig.addLabelOfHeight(400);
        SettingsDialog dialog(&rig.camera, nullptr);
        QTabWidget* tabs = tabsOf(dialog);
        QCOMPARE(tabs->count(), 2);

        QImage red(1600, 1200, QImage::Format_RGB32);
        red.fill(Qt::red);
        dialog.updateBackground(red);
        const QBrush first = tabs->widget(0)->palette().brush(QPalette::Active, QPalette::Window);
        QCOMPARE(first.texture().size(), QSize(800, 600));
        QCOMPARE(first.texture().toImage().pixelColor(5, 5), QColor(Qt::red));
        QCOMPARE(tabs->widget(0)->palette().brush(QPalette::Inactive, QPalette::Window).texture().size(),
                 QSize(800, 600));
        QVERIFY(tabs->widget(1)->palette().brush(QPalette::Window).texture().isNull());

        tabs->setCurrentIndex(1);
        QImage blue(400, 100, QImage::Format_RGB32);
        blue.fill(Qt::blue);
        dialog.updateBackground(blue);
        QCOMPARE(tabs->widget(1)->palette().brush(QPalette::Window).texture().size(), QSize(800, 200));
        QCOMPARE(tabs->widget(0)->palette().brush(QPalette::Window).texture().toImage().pixelColor(5, 5),
                 QColor(Qt::red));

        // A frame that could not be converted leaves the picture as it is.
        dialog.updateBackground(QImage());
        QCOMPARE(tabs->widget(1)->palette().brush(QPalette::Window).texture().size(), QSize(800, 200));
    }

    // --- after the dialog has finished ----------------------------------

    void finishedDialogLeavesTheControlsAlone()
    {
        CameraRig rig;
        auto& temperature = rig.add<Fake::Numeric<int>>("Temperature (C)", 0, 0, 1, 2500);
        temperature.readOnly = true;
        rig.add<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0);
        rig.add<Fake::Boolean>("Auto", false, ICameraControl::FamilyCamera);
        auto& gain = rig.add<Fake::Numeric<int>>("Gain", 0, 9, 1, 0, ICameraControl::FamilyCamera);

        SettingsDialog dialog(&rig.camera, nullptr);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        // Polling runs while the dialog is open.
        QTRY_VERIFY_WITH_TIMEOUT(temperature.refreshCount > 0, 2000);

        dialog.close();
        QVERIFY(!dialog.isVisible());
        for (QWidget* row : allRows(dialog)) {
            for (QTimer* timer : row->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
                QVERIFY(!timer->isActive());
        }
        Fake::clearCalls();
        auto* autoRow = qobject_cast<CameraControlBase*>(allRows(dialog)[2]);
        emit autoRow->updateFamily(ICameraControl::FamilyCamera);
        QTest::qWait(700);
        QCOMPARE(Fake::calls(), std::vector<std::string>());
        QCOMPARE(gain.refreshCount, 0);
    }
};

QTEST_MAIN(TestSettingsDialog)
#include "test_settingsdialog.moc"
