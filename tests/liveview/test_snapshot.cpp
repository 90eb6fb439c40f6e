#include "windowprobe.h"

#include <QFileDialog>
#include <QImageReader>
#include <QTemporaryDir>

namespace {

Fake::DeviceSpec camera(const std::string& fourcc, unsigned w, unsigned h)
{
    Fake::DeviceSpec spec;
    spec.name = "cam";
    spec.formats[0].fourcc = fourcc;
    spec.formats[0].description = fourcc;
    spec.formats[0].resolutions[0].width = w;
    spec.formats[0].resolutions[0].height = h;
    spec.formats[0].resolutions[0].bytesPerLine = int(w * 3);
    spec.formats[0].resolutions[0].intervals = {{1, 15}};
    return spec;
}

// Grey frames with a block of bytes 200, 100, 0 in the top left corner
// (a block, so that JPEG compression keeps its colour).
Fake::Frame frame(unsigned w, unsigned h, unsigned long long number = 1)
{
    std::vector<unsigned char> data(size_t(w) * h * 3, 0x80);
    for (unsigned y = 0; y < std::min(h, 16u); ++y) {
        for (unsigned x = 0; x < std::min(w, 16u); ++x) {
            unsigned char* pixel = &data[(size_t(y) * w + x) * 3];
            pixel[0] = 200;
            pixel[1] = 100;
            pixel[2] = 0;
        }
    }
    return Fake::Frame(std::move(data), number, {1, 0});
}

class Session
{
public:
    explicit Session(const Fake::DeviceSpec& spec)
    {
        Fake::Layer::instance().devices = {spec};
        window = std::make_unique<MainWindow>();
        Probe::action(*window, "actionStart")->trigger();
        Probe::refreshTimer(*window)->stop();
    }
    Fake::Camera& camera() { return *Fake::Layer::instance().camera(); }
    void show(Fake::Frame f)
    {
        camera().pushFrame(std::move(f));
        Probe::tick(*window);
    }
    void snapshot() { Probe::action(*window, "actionSnapshot")->trigger(); }

    std::unique_ptr<MainWindow> window;
};

} // namespace

class TestSnapshot : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void savesTheFullSizePictureInTheSuffixFormat_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("png") << "png" << QByteArray("png");
        QTest::newRow("jpg") << "jpg" << QByteArray("jpeg");
        QTest::newRow("bmp") << "bmp" << QByteArray("bmp");
    }

    void savesTheFullSizePictureInTheSuffixFormat()
    {
        QFETCH(QString, suffix);
        QFETCH(QByteArray, format);
        QTemporaryDir dir;
        const QString path = dir.filePath("shot." + suffix);
        Session s(camera("BGR3", 320, 240));

        QString proposed;
        QStringList filters;
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            proposed = dialog->selectedFiles().value(0);
            filters = dialog->nameFilters();
            dialog->selectFile(path);
            static_cast<QDialog*>(dialog)->accept();
        });
        s.snapshot();
        s.show(frame(320, 240));
        QCOMPARE(handler.handled, 1);
        QVERIFY2(QRegularExpression("Snapshot from \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.png$").match(proposed).hasMatch(),
                 qPrintable(proposed));
        QCOMPARE(filters, QStringList{"Image Files (*.png *.jpg *.bmp)"});

        QImageReader reader(path);
        QCOMPARE(reader.format(), format);
        const QImage saved = reader.read();
        QCOMPARE(saved.size(), QSize(320, 240));
        // BGR3 bytes 200, 100, 0 are blue, green, red: the file has them corrected.
        const QColor first = saved.pixelColor(4, 4);
        QVERIFY2(first.red() < 20 && qAbs(first.green() - 100) < 20 && first.blue() > 180,
                 qPrintable(first.name()));
    }

    void severalRequestsGiveOneDialog()
    {
        Session s(camera("RGB3", 16, 8));
        Probe::ModalHandler<QFileDialog> handler([](QFileDialog* dialog) { dialog->reject(); });
        s.snapshot();
        s.snapshot();
        s.snapshot();
        s.show(frame(16, 8, 1));
        s.show(frame(16, 8, 2));
        QCOMPARE(handler.handled, 1);
    }

    void cancelResumesTheLiveView()
    {
        Session s(camera("RGB3", 16, 8));
        QTimer* timer = Probe::refreshTimer(*s.window);
        timer->start(66);
        bool timerStoppedDuringDialog = false;
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            timerStoppedDuringDialog = !timer->isActive();
            dialog->reject();
        });
        s.show(frame(16, 8, 1));
        s.snapshot();
        s.show(frame(16, 8, 2));
        QCOMPARE(handler.handled, 1);
        QVERIFY(timerStoppedDuringDialog);
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), 66);
        s.show(frame(16, 8, 3));
        QVERIFY(Probe::status(*s.window).startsWith("2:3 "));
        QCOMPARE(s.camera().handedOut.size(), size_t(0));
    }

    void unwritableNameFailsQuietly()
    {
        Session s(camera("RGB3", 16, 8));
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            dialog->selectFile("/nonexistent-folder/shot.xyz");
            static_cast<QDialog*>(dialog)->accept();
        });
        s.snapshot();
        s.show(frame(16, 8));
        QCOMPARE(handler.handled, 1);
        QVERIFY(Probe::refreshTimer(*s.window)->isActive());
    }

    void cameraEventDuringTheDialogLeavesNothingDangling()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("during-unplug.png");
        auto& layer = Fake::Layer::instance();
        Session s(camera("RGB3", 64, 48));
        Fake::Camera* original = &s.camera();
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            // The camera is unplugged and plugged back while the user picks a name.
            layer.emitEvent(ImageAcquisition::ICameraEvent::CameraRemoved);
            dialog->selectFile(path);
            static_cast<QDialog*>(dialog)->accept();
        });
        s.snapshot();
        Fake::clearCalls();
        s.show(frame(64, 48, 77));
        QCOMPARE(handler.handled, 1);

        // The old camera went with its frame; nothing was handed to the new one.
        QVERIFY(Fake::called("~Camera(cam)"));
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QVERIFY(layer.camera() != original || Fake::count("createCamera(cam)") == 1);
        QCOMPARE(Fake::count("releaseFrame"), 0);
        QCOMPARE(layer.camera()->foreignReleases, 0);
        // The stream ended, so the pump stays still; the picture was still saved.
        QVERIFY(!Probe::refreshTimer(*s.window)->isActive());
        QCOMPARE(QImage(path).size(), QSize(64, 48));
    }

    void requestMadeWhileIdleWaitsForTheNextStream()
    {
        Fake::Layer::instance().devices = {camera("RGB3", 16, 8)};
        MainWindow window;
        Probe::ModalHandler<QFileDialog> handler([](QFileDialog* dialog) { dialog->reject(); });
        Probe::action(window, "actionStart")->trigger();
        Probe::action(window, "actionSnapshot")->trigger();
        Probe::action(window, "actionStart")->trigger();
        QVERIFY(!Probe::action(window, "actionSnapshot")->isEnabled());
        Probe::action(window, "actionStart")->trigger();
        Probe::refreshTimer(window)->stop();
        Fake::Layer::instance().camera()->pushFrame(frame(16, 8));
        Probe::tick(window);
        QCOMPARE(handler.handled, 1);
    }
};

QTEST_MAIN(TestSnapshot)
#include "test_snapshot.moc"
