// The pictures tarvello-ctl makes of frames (grab's PNG and JPEG files are
// these pictures, saved) are those listed in pictures.txt, and come out so
// without Qt's image plug-ins: a machine may lack the JPEG plug-in, which
// Qt loads only when a picture is read, so nothing would tell it is missing.
#include "pictures.h"

#include <frameimage.h>
#include <streamformat.h>

#include <QBuffer>
#include <QImageReader>
#include <QtTest>

class TestPicturesCtl : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // No folder to load plug-ins from: only the formats built into Qt
        // itself are left, and JPEG is not one of them.
        QCoreApplication::setLibraryPaths({});
        QVERIFY(!QImageReader::supportedImageFormats().contains("jpeg"));
    }

    void everyFormatGivesTheListedPicture()
    {
        Pictures::Differences differences("ctl");
        for (const Pictures::Frame& frame : Pictures::frames()) {
            QVERIFY2(!frame.bytes.isEmpty(), qPrintable(frame.name));
            StreamFormat format;
            format.fourcc = frame.fourcc;
            format.compressed = frame.fourcc == "MJPG";
            format.width = frame.width;
            format.height = frame.height;
            format.bytesPerLine = frame.bytesPerLine;
            const QImage picture = FrameImage::convert(format, frame.data(), frame.bytes.size());
            differences.check(frame, picture);
            // grab's PNG files need no plug-in either.
            QBuffer png;
            png.open(QIODevice::WriteOnly);
            QVERIFY2(picture.save(&png, "PNG"), qPrintable(frame.name));
        }
        QVERIFY2(differences.none(), differences.summary());
    }
};

QTEST_GUILESS_MAIN(TestPicturesCtl)
#include "test_pictures_ctl.moc"
