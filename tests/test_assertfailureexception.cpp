#include <assertfailureexception.h>

#include <QtTest>

#include <cstdio>
#include <iostream>
#include <unistd.h>

// Captures what is written to standard error while it lives.
class StderrCapture
{
public:
    StderrCapture()
    {
        std::fflush(stderr);
        m_saved = dup(STDERR_FILENO);
        m_file = std::tmpfile();
        dup2(fileno(m_file), STDERR_FILENO);
    }
    ~StderrCapture() { restore(); }
    QByteArray text()
    {
        restore();
        std::rewind(m_file);
        QByteArray all;
        char buffer[256];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, m_file)) > 0)
            all.append(buffer, int(n));
        return all;
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        std::cerr.flush();
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        m_saved = -1;
    }
    int m_saved = -1;
    FILE* m_file = nullptr;
};

class TestAssertFailureException : public QObject
{
    Q_OBJECT

private slots:
    void composesText_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<int>("line");
        QTest::addColumn<bool>("withCode");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("expected");

        QTest::newRow("with code") << "x > 0" << 42 << true << 7 << "Bad value"
                                   << "Bad value: Assertion 'x > 0' failed in file 'camera' line 42' error code: 7'\n";
        QTest::newRow("without code") << "x > 0" << 42 << false << 0 << "Bad value"
                                      << "Bad value: Assertion 'x > 0' failed in file 'camera' line 42\n";
        QTest::newRow("empty message") << "x > 0" << 1 << false << 0 << ""
                                       << "Assertion 'x > 0' failed in file 'camera' line 1\n";
        QTest::newRow("false") << "false" << 3 << true << 2 << "m"
                               << "m: Illegal code assertion failed in file 'camera' line 3' error code: 2'\n";
        QTest::newRow("0") << "0" << 3 << false << 0 << ""
                           << "Illegal code assertion failed in file 'camera' line 3\n";
        QTest::newRow("FALSE") << "FALSE" << 3 << false << 0 << ""
                               << "Illegal code assertion failed in file 'camera' line 3\n";
        QTest::newRow("False is ordinary") << "False" << 3 << false << 0 << ""
                                           << "Assertion 'False' failed in file 'camera' line 3\n";
        QTest::newRow("trailing blank") << "false " << 3 << false << 0 << ""
                                        << "Assertion 'false ' failed in file 'camera' line 3\n";
        QTest::newRow("parenthesised") << "(false)" << 3 << false << 0 << ""
                                       << "Assertion '(false)' failed in file 'camera' line 3\n";
        QTest::newRow("negative numbers") << "ok" << -5 << true << -22 << ""
                                          << "Assertion 'ok' failed in file 'camera' line -5' error code: -22'\n";
    }

    void composesText()
    {
        QFETCH(QString, expression);
        QFETCH(int, line);
        QFETCH(bool, withCode);
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(QString, expected);

        // The exception stores the pointer, so the text must outlive it.
        const QByteArray expr = expression.toUtf8();
        StderrCapture capture;
        const std::string msg = message.toStdString();
        const QString what = withCode
                                 ? QString::fromUtf8(AssertFailureException(expr.constData(), "camera", line, code, msg).what())
                                 : QString::fromUtf8(AssertFailureException(expr.constData(), "camera", line, msg).what());
        QCOMPARE(what, expected);
        // Reported once, followed by an empty line.
        QCOMPARE(QString::fromUtf8(capture.text()), expected + "\n");
    }

    void reportsOncePerConstructionNotPerCopy()
    {
        StderrCapture capture;
        AssertFailureException first("a", "f", 1, "one");
        AssertFailureException second("b", "f", 2, "two");
        AssertFailureException copy(first);
        QCOMPARE(QByteArray(copy.what()), QByteArray(first.what()));
        const QByteArray text = capture.text();
        QCOMPARE(text, QByteArray("one: Assertion 'a' failed in file 'f' line 1\n\n"
                                  "two: Assertion 'b' failed in file 'f' line 2\n\n"));
    }

    void isCaughtAsStdException()
    {
        StderrCapture capture;
        try {
            ASSERT_OR_THROW(1 == 2, "numbers disagree");
            QFAIL("nothing thrown");
        } catch (const std::exception& e) {
            QVERIFY(QByteArray(e.what()).startsWith("numbers disagree: Assertion '1 == 2' failed in file '"));
        }
    }
};

QTEST_APPLESS_MAIN(TestAssertFailureException)
#include "test_assertfailureexception.moc"
