#pragma once

#include <QTextEdit>

class QByteArray;

// Read-only, self-trimming log of what the camera sends over its serial line.
class Console : public QTextEdit
{
    Q_OBJECT

public:
    explicit Console(QWidget* parent = nullptr);

    void putData(const QByteArray& data);
};
