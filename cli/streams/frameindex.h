#pragma once

#include <QFile>
#include <QJsonArray>
#include <QString>

// The side file of a grab: one record per saved frame with its number,
// capture time, byte count, format and file, as CSV or (for a .json name)
// JSON. Written as frames come, so that a grab cut short keeps its records.
class FrameIndex
{
public:
    // Throws CtlError when the file cannot be written.
    explicit FrameIndex(const QString& path);
    ~FrameIndex();
    FrameIndex(const FrameIndex&) = delete;
    FrameIndex& operator=(const FrameIndex&) = delete;

    void add(unsigned long long frameNumber, double timestamp, int size, const QString& format, int width,
             int height, const QString& file);

private:
    QFile m_file;
    bool m_json;
    QJsonArray m_records;
};
