#include "windowprobe.h"

#include <QFileDialog>
#include <QImageReader>
#include <QTemporaryDir>

namespace {

// Grey frames with a block of bytes 200, 100, 0 in the top left corner
// (a block, so that JPEG compression keeps its colour).
Fake::Frame frame(unsigned w, unsigned h, unsigned long long number = 1)
{
    std::vector<unsigned char> data(size_t(w) * h * 3, 0x80);
    for (unsigned y = 0; y < std::min(h, 16u); ++y) {
        for (unsigned x = 0; x < std::min(w, 16u); ++x)
            std::copy_n("\xC8\x64\x00", 3, &data[(size_t(y) * w + x) * 3]);
    }
    return Fake::Frame(std::move(data), number, {1, 0});
}

// Accepts the next file dialog with path chosen.
std::function<void(QFileDialog*)> choose(const QString& path)
{
    return [path](QFileDialog* dialog) {
        dialog->selectFile(path);
        static_cast<QDialog*>(dialog)->accept();
    };
}

} // namespace

class TestSnapshot : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void savesTheFullSizePictureInTheSuffixFormat()
    {
        QTemporaryDir dir;
        for (const QString suffix : {"png", "jpg"}) {
            const QString path = dir.filePath("shot." + suffix);
            Probe::Session s(Probe::camera("BGR3", 320, 240));
            QString proposed;
            QStringList filters;
            Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
                proposed = dialog->selectedFiles().value(0);
                filters = dialog->nameFilters();
                choose(path)(dialog);
            });
            Probe::trigger(*s.window, "actionSnapshot");
            s.show(frame(320, 240));
            QCOMPARE(handler.handled, 1);
            const QRegularExpression stamped("Snapshot from \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.png$");
            QVERIFY2(stamped.match(proposed).hasMatch(), qPrintable(proposed));
            QCOMPARE(filters, QStringList{"Image Files (*.png *.jpg *.bmp)"});
            QImageReader reader(path);
            QCOMPARE(reader.format(), suffix == "png" ? QByteArray("png") : QByteArray("jpeg"));
            const QImage saved = reader.read();
            QCOMPARE(saved.size(), QSize(320, 240));
            // BGR3 bytes 200, 100, 0 are blue, green, red: the file has them corrected.
            const QColor first = saved.pixelColor(4, 4);
            QVERIFY2(first.red() < 20 && qAbs(first.green() - 100) < 20 && first.blue() > 180,
                     qPrintable(first.name()));
        }
    }

    void dialogPausesTheLiveViewOncePerRequest()
    {
        Probe::Session s(Probe::camera("RGB3", 16, 8));
        QTimer* timer = Probe::refreshTimer(*s.window);
        timer->start(66);
        bool pausedDuringDialog = false;
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            pausedDuringDialog = !timer->isActive();
            if (handler.handled == 1)
                dialog->reject();
            else
                choose("/nonexistent-folder/shot.xyz")(dialog); // fails quietly
        });
        for (int i = 0; i < 3; ++i)
            Probe::trigger(*s.window, "actionSnapshot");
        s.show(frame(16, 8, 1));
        s.show(frame(16, 8, 2));
        QCOMPARE(handler.handled, 1);
        QVERIFY(pausedDuringDialog);
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), 66);
        Probe::trigger(*s.window, "actionSnapshot");
        s.show(frame(16, 8, 3));
        QCOMPARE(handler.handled, 2);
        QVERIFY(timer->isActive());
        QVERIFY(Probe::status(*s.window).startsWith("2:3 "));
        QVERIFY(s.camera().handedOut.empty());
    }

    void cameraEventDuringTheDialogLeavesNothingDangling()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("during-unplug.png");
        auto& layer = Fake::Layer::instance();
        Probe::Session s(Probe::camera("RGB3", 64, 48));
        Probe::ModalHandler<QFileDialog> handler([&](QFileDialog* dialog) {
            // The camera is unplugged and plugged back while the user picks a name.
            layer.emitEvent(ImageAcquisition::ICameraEvent::CameraRemoved);
            choose(path)(dialog);
        });
        Probe::trigger(*s.window, "actionSnapshot");
        Fake::clearCalls();
        s.show(frame(64, 48, 77));
        QCOMPARE(handler.handled, 1);
        // The old camera went with its frame; nothing was handed to the new one.
        QVERIFY(Fake::called("~Camera(cam)"));
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QCOMPARE(Fake::count("releaseFrame"), 0);
        QCOMPARE(layer.camera()->foreignReleases, 0);
        // The stream ended, so the pump stays still; the picture was still saved.
        QVERIFY(!Probe::refreshTimer(*s.window)->isActive());
        QCOMPARE(QImage(path).size(), QSize(64, 48));
    }

};

QTEST_MAIN(TestSnapshot)
#include "test_snapshot.moc"
