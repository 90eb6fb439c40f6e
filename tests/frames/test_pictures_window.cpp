// The pictures the window makes of frames (what it shows, scaled, and what
// newImage carries) are those listed in pictures.txt.
#include "pictures.h"
#include "windowprobe.h"

class TestPicturesWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void everyFormatGivesTheListedPicture()
    {
        Pictures::Differences differences("window");
        for (const Pictures::Frame& frame : Pictures::frames()) {
            QVERIFY2(!frame.bytes.isEmpty(), qPrintable(frame.name));
            auto device = Probe::camera(frame.fourcc.toStdString(), unsigned(frame.width), unsigned(frame.height));
            device.formats[0].resolutions[0].bytesPerLine = frame.bytesPerLine;
            Probe::Session session(device);
            session.show(Fake::Frame(std::vector<unsigned char>(frame.bytes.begin(), frame.bytes.end())));
            QCOMPARE(session.images.size(), 1);
            differences.check(frame, session.images.last());
        }
        QVERIFY2(differences.none(), differences.summary());
    }
};

QTEST_MAIN(TestPicturesWindow)
#include "test_pictures_window.moc"
