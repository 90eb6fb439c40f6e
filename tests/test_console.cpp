#include "console.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QtTest>

class TestConsole : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheNewestThousandLines()
    {
        Console console;
        for (int i = 1; i <= 1001; ++i)
            console.putData(QByteArray("line ") + QByteArray::number(i) + "\n");
        QTextDocument* doc = console.document();
        QCOMPARE(doc->maximumBlockCount(), 1000);
        QCOMPARE(doc->blockCount(), 1000);
        QVERIFY(!console.toPlainText().contains("line 1\n"));
        QVERIFY(console.toPlainText().startsWith("line 3\n"));
        QVERIFY(console.toPlainText().contains("line 1001\n"));
    }

    void textStopsAtZeroByte()
    {
        Console console;
        console.putData(QByteArray("abc\0def", 7));
        QCOMPARE(console.toPlainText(), QString("abc"));
    }

    void malformedUtf8ShowsReplacement()
    {
        Console console;
        console.putData(QByteArray("a\xff" "b"));
        QCOMPARE(console.toPlainText(), QString("a") + QChar(QChar::ReplacementCharacter) + "b");
    }

    void appendScrollsToTheEnd()
    {
        Console console;
        console.resize(300, 100);
        console.show();
        for (int i = 0; i < 100; ++i)
            console.putData("some text\n");
        QScrollBar* bar = console.verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        bar->setValue(0);
        console.putData(QByteArray());
        QCOMPARE(console.toPlainText().count("some text"), 100);
        QCOMPARE(bar->value(), bar->maximum());
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

    void colours()
    {
        Console console;
        for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            QCOMPARE(console.palette().color(group, QPalette::Base), QColor(Qt::black));
            QCOMPARE(console.palette().color(group, QPalette::Text), QColor(0, 128, 250, 255));
        }
    }
};

QTEST_MAIN(TestConsole)
#include "test_console.moc"
