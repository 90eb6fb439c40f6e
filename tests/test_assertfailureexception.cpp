#include <assertfailureexception.h>

#include <QtTest>

#include <climits>
#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace {

const int kNoCode = INT_MIN;

// What call writes to standard error.
template <typename Call>
QByteArray stderrOf(Call call)
{
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    FILE* file = std::tmpfile();
    dup2(fileno(file), STDERR_FILENO);
    call();
    std::cerr.flush();
    dup2(saved, STDERR_FILENO);
    close(saved);
    std::rewind(file);
    QByteArray text;
    char buffer[256];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
        text.append(buffer, int(n));
    std::fclose(file);
    return text;
}

} // namespace

class TestAssertFailureException : public QObject
{
    Q_OBJECT

private slots:
    void composesText_data()
    {
        QTest::addColumn<QByteArray>("expression");
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* expression, int line, int code, const char* message,
                            const char* expected) {
            QTest::newRow(name) << QByteArray(expression) << line << code << message << expected;
        };
        row("with code", "x > 0", 42, 7, "Bad value",
            "Bad value: Assertion 'x > 0' failed in file 'camera' line 42' error code: 7'\n");
        row("without code", "x > 0", 42, kNoCode, "Bad value",
            "Bad value: Assertion 'x > 0' failed in file 'camera' line 42\n");
        row("empty message", "x > 0", 1, kNoCode, "", "Assertion 'x > 0' failed in file 'camera' line 1\n");
        row("false", "false", 3, 2, "m", "m: Illegal code assertion failed in file 'camera' line 3' error code: 2'\n");
        row("0", "0", 3, kNoCode, "", "Illegal code assertion failed in file 'camera' line 3\n");
        row("FALSE", "FALSE", 3, kNoCode, "", "Illegal code assertion failed in file 'camera' line 3\n");
        row("False is ordinary", "False", 3, kNoCode, "", "Assertion 'False' failed in file 'camera' line 3\n");
        row("trailing blank", "false ", 3, kNoCode, "", "Assertion 'false ' failed in file 'camera' line 3\n");
        row("parenthesised", "(false)", 3, kNoCode, "", "Assertion '(false)' failed in file 'camera' line 3\n");
        row("negative numbers", "ok", -5, -22, "",
            "Assertion 'ok' failed in file 'camera' line -5' error code: -22'\n");
    }

    void composesText()
    {
        QFETCH(QByteArray, expression); // the exception keeps the pointer: it must outlive it
        QFETCH(int, line);
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(QString, expected);
        QString what;
        const QByteArray reported = stderrOf([&] {
            const std::string text = message.toStdString();
            what = code == kNoCode ? AssertFailureException(expression.constData(), "camera", line, text).what()
                                   : AssertFailureException(expression.constData(), "camera", line, code, text).what();
        });
        QCOMPARE(what, expected);
        // Reported once, followed by an empty line.
        QCOMPARE(QString::fromUtf8(reported), expected + "\n");
    }

    void copiesDoNotReportAgainAndCatchAsStdException()
    {
        QByteArray caught;
        const QByteArray reported = stderrOf([&] {
            AssertFailureException first("a", "f", 1, "one");
            AssertFailureException copy(first);
            QCOMPARE(QByteArray(copy.what()), QByteArray(first.what()));
            try {
                ASSERT_OR_THROW(1 == 2, "numbers disagree");
            } catch (const std::exception& e) {
                caught = e.what();
            }
        });
        QVERIFY(caught.startsWith("numbers disagree: Assertion '1 == 2' failed in file '"));
        QCOMPARE(reported, "one: Assertion 'a' failed in file 'f' line 1\n\n" + caught + "\n");
    }
};

QTEST_APPLESS_MAIN(TestAssertFailureException)
#include "test_assertfailureexception.moc"
