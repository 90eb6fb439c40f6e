#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

class QTextStream;

// Rows printed in columns as wide as their widest cell.
class TextTable
{
public:
    explicit TextTable(QStringList header);
    void addRow(QStringList cells);
    void print(QTextStream& out) const;

private:
    QVector<QStringList> m_rows;
};
