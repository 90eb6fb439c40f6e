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
        const auto expected = Pictures::expected();
        QStringList wrong; // lines of pictures.txt as they would read now
        for (const Pictures::Frame& frame : Pictures::frames()) {
            QVERIFY2(!frame.bytes.isEmpty(), qPrintable(frame.name));
            auto device = Probe::camera(frame.fourcc.toStdString(), unsigned(frame.width), unsigned(frame.height));
            device.formats[0].resolutions[0].bytesPerLine = frame.bytesPerLine;
            Probe::Session session(device);
            session.show(Fake::Frame(std::vector<unsigned char>(frame.bytes.begin(), frame.bytes.end())));
            QCOMPARE(session.images.size(), 1);
            const Pictures::Picture picture = Pictures::of(session.images.last());
            if (!(expected.value({frame.name, "window"}) == picture)) {
                wrong << Pictures::line(frame, "window", picture);
                qWarning().noquote() << wrong.last();
            }
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(QString("%1 pictures are not the listed ones; the warnings above give "
                                                       "what was made").arg(wrong.size())));
    }
};

QTEST_MAIN(TestPicturesWindow)
#include "test_pictures_window.moc"
