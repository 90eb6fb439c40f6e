#pragma once

// The fixed frames of frames.txt and the pictures each front-end made of
// them, as listed in pictures.txt: a front-end's conversion may be moved
// or rewritten, but the pictures it makes stay bit for bit the same.

#include <QCryptographicHash>
#include <QDebug>
#include <QFile>
#include <QImage>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Pictures {

struct Frame
{
    QString name;
    QString fourcc;
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    QByteArray bytes;

    const unsigned char* data() const { return reinterpret_cast<const unsigned char*>(bytes.constData()); }
};

// What a front-end made of a frame: how its picture is laid out (format
// and size) and a digest of its pixels, row after row without padding.
struct Picture
{
    QString layout;
    QString digest;

    bool operator==(const Picture& other) const { return layout == other.layout && digest == other.digest; }
};

inline QString path(const QString& name)
{
    return QStringLiteral(TARVELLO_FRAMES_DIR "/") + name;
}

inline QByteArray counting(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((7 * i + 13 * (i / 97)) & 0xFF);
    return bytes;
}

// The lines of a list without comments and blank lines, split at spaces.
inline QVector<QStringList> lines(const QString& name)
{
    QFile file(path(name));
    QVector<QStringList> result;
    if (!file.open(QIODevice::ReadOnly))
        return result;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QString text = QString::fromUtf8(line).trimmed();
        if (!text.isEmpty() && !text.startsWith('#'))
            result << text.split(' ', Qt::SkipEmptyParts);
    }
    return result;
}

inline QVector<Frame> frames()
{
    QVector<Frame> result;
    for (const QStringList& fields : lines("frames.txt")) {
        Frame frame{fields[0], fields[1], fields[2].toInt(), fields[3].toInt(), fields[4].toInt(), QByteArray()};
        if (fields[5] == "counting") {
            frame.bytes = counting(frame.bytesPerLine * frame.height);
        } else {
            QFile file(path(fields[5]));
            if (file.open(QIODevice::ReadOnly))
                frame.bytes = file.readAll();
        }
        result << frame;
    }
    return result;
}

// Keyed by frame name and front-end ("ctl", "window", "python").
inline QMap<QPair<QString, QString>, Picture> expected()
{
    QMap<QPair<QString, QString>, Picture> result;
    for (const QStringList& fields : lines("pictures.txt"))
        result[{fields[0], fields[1]}] = Picture{fields[2], fields[3]};
    return result;
}

inline QString formatName(QImage::Format format)
{
    switch (format) {
    case QImage::Format_RGB888:
        return "RGB888";
    case QImage::Format_RGB32:
        return "RGB32";
    case QImage::Format_Grayscale8:
        return "Grayscale8";
    case QImage::Format_Invalid:
        return "null";
    default:
        return QString("format%1").arg(int(format));
    }
}

inline Picture of(const QImage& image)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const int rowBytes = image.width() * image.depth() / 8;
    for (int y = 0; y < image.height(); ++y)
        hash.addData(reinterpret_cast<const char*>(image.constScanLine(y)), rowBytes);
    return Picture{QString("%1:%2x%3").arg(formatName(image.format())).arg(image.width()).arg(image.height()),
                   QString::fromLatin1(hash.result().toHex())};
}

// The pictures a front-end made that are not the listed ones, each as the
// line of pictures.txt that would list it, and given as a warning.
class Differences
{
public:
    explicit Differences(const QString& frontEnd) : m_frontEnd(frontEnd), m_expected(expected()) {}

    void check(const Frame& frame, const QImage& image) { check(frame, of(image)); }
    void check(const Frame& frame, const Picture& picture)
    {
        if (m_expected.value({frame.name, m_frontEnd}) == picture)
            return;
        m_lines << QString("%1 %2 %3 %4")
                       .arg(frame.name, -20)
                       .arg(m_frontEnd, -7)
                       .arg(picture.layout, -17)
                       .arg(picture.digest);
        qWarning().noquote() << m_lines.last();
    }
    bool none() const { return m_lines.isEmpty(); }
    QByteArray summary() const
    {
        return QString("%1 pictures are not the listed ones; the warnings above give what was made")
            .arg(m_lines.size())
            .toUtf8();
    }

private:
    QString m_frontEnd;
    QMap<QPair<QString, QString>, Picture> m_expected;
    QStringList m_lines;
};

} // namespace Pictures
