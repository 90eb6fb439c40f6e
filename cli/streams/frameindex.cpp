#include "frameindex.h"

#include <ctlerror.h>

#include <QJsonDocument>
#include <QJsonObject>

FrameIndex::FrameIndex(const QString& path) : m_file(path), m_json(path.endsWith(".json", Qt::CaseInsensitive))
{
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw Tarvello::CtlError(QString("Cannot write %1: %2").arg(path, m_file.errorString()),
                                 Tarvello::CtlError::kFailed);
    if (!m_json) {
        m_file.write("frame,timestamp,size,format,width,height,file\n");
        m_file.flush();
    }
}

FrameIndex::~FrameIndex()
{
    if (m_json)
        m_file.write(QJsonDocument(m_records).toJson());
}

void FrameIndex::add(unsigned long long frameNumber, double timestamp, int size, const QString& format, int width,
                     int height, const QString& file)
{
    if (m_json) {
        m_records.append(QJsonObject{{"frame", double(frameNumber)}, {"timestamp", timestamp}, {"size", size},
                                     {"format", format}, {"width", width}, {"height", height}, {"file", file}});
        return;
    }
    m_file.write(QString("%1,%2,%3,%4,%5,%6,%7\n")
                     .arg(frameNumber)
                     .arg(timestamp, 0, 'f', 6)
                     .arg(size)
                     .arg(format)
                     .arg(width)
                     .arg(height)
                     .arg(file)
                     .toUtf8());
    m_file.flush();
}
