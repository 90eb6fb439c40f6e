#include "texttable.h"

#include <QTextStream>

TextTable::TextTable(QStringList header)
{
    m_rows.append(std::move(header));
}

void TextTable::addRow(QStringList cells)
{
    m_rows.append(std::move(cells));
}

void TextTable::print(QTextStream& out) const
{
    QVector<int> widths;
    for (const QStringList& row : m_rows) {
        for (int i = 0; i < row.size(); ++i) {
            if (widths.size() <= i)
                widths.append(0);
            widths[i] = qMax(widths[i], row[i].size());
        }
    }
    for (const QStringList& row : m_rows) {
        QString line;
        for (int i = 0; i < row.size(); ++i)
            line += i + 1 < row.size() ? row[i].leftJustified(widths[i] + 2) : row[i];
        out << line.trimmed() << '\n';
    }
    out.flush();
}
