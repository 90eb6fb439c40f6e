#include "console.h"

#include <QByteArray>
#include <QPalette>
#include <QScrollBar>

namespace {
// However long the camera talks, the document and the cost of an append stay bounded.
constexpr int kMaximumBlockCount = 1000;
}

Console::Console(QWidget* parent) : QTextEdit(parent)
{
    document()->setMaximumBlockCount(kMaximumBlockCount);

    QPalette p = palette();
    p.setBrush(QPalette::All, QPalette::Base, QBrush(Qt::black));
    p.setBrush(QPalette::All, QPalette::Text, QBrush(QColor(0, 128, 250, 255)));
    setPalette(p);
}

void Console::putData(const QByteArray& data)
{
    // A camera may send a NUL; what follows it is not text.
    const int end = data.indexOf('\0');
    insertPlainText(QString::fromUtf8(data.constData(), end < 0 ? data.size() : end));

    QScrollBar* bar = verticalScrollBar();
    bar->setValue(bar->maximum());
}
