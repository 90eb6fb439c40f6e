// The pictures tarvello-ctl makes of frames (grab's PNG and JPEG files are
// these pictures, saved) are those listed in pictures.txt.
#include "pictures.h"

#include <frameimage.h>
#include <streamformat.h>

#include <QtTest>

class TestPicturesCtl : public QObject
{
    Q_OBJECT

private slots:
    void everyFormatGivesTheListedPicture()
    {
        const auto expected = Pictures::expected();
        QStringList wrong; // lines of pictures.txt as they would read now
        for (const Pictures::Frame& frame : Pictures::frames()) {
            QVERIFY2(!frame.bytes.isEmpty(), qPrintable(frame.name));
            StreamFormat format;
            format.fourcc = frame.fourcc;
            format.compressed = frame.fourcc == "MJPG";
            format.width = frame.width;
            format.height = frame.height;
            format.bytesPerLine = frame.bytesPerLine;
            const Pictures::Picture picture =
                Pictures::of(FrameImage::convert(format, frame.data(), frame.bytes.size()));
            if (!(expected.value({frame.name, "ctl"}) == picture)) {
                wrong << Pictures::line(frame, "ctl", picture);
                qWarning().noquote() << wrong.last();
            }
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(QString("%1 pictures are not the listed ones; the warnings above give "
                                                       "what was made").arg(wrong.size())));
    }
};

QTEST_GUILESS_MAIN(TestPicturesCtl)
#include "test_pictures_ctl.moc"
