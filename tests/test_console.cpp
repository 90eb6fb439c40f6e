#include "console.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QtTest>

class TestConsole : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheNewestThousandLinesAndScrollsToTheEnd()
    {
        Console console;
        console.resize(300, 100);
        console.show();
        for (int i = 1; i <= 1001; ++i)
            console.putData(QByteArray("line ") + QByteArray::number(i) + "\n");
        QCOMPARE(console.document()->blockCount(), 1000);
        QVERIFY(console.toPlainText().startsWith("line 3\n") && console.toPlainText().endsWith("line 1001\n"));
        QScrollBar* bar = console.verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        bar->setValue(0);
        console.putData(QByteArray());
        QCOMPARE(bar->value(), bar->maximum());
    }

    void textStopsAtZeroByteAndShowsBadUtf8AsReplacement()
    {
        Console console;
        console.putData(QByteArray("a\xff" "b\0def", 7));
        QCOMPARE(console.toPlainText(), QString("a") + QChar(QChar::ReplacementCharacter) + "b");
    }

    void insertsAtTheCursorNotAtTheEnd()
    {
        Console console;
        console.putData("hello world");
        QTextCursor cursor = console.textCursor();
        cursor.setPosition(5);
        console.setTextCursor(cursor);
        console.putData(",");
        QCOMPARE(console.toPlainText(), QString("hello, world"));
    }
};

QTEST_MAIN(TestConsole)
#include "test_console.moc"
