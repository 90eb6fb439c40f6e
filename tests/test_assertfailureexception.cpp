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
    char text[4096];
    const size_t size = std::fread(text, 1, sizeof text, file);
    std::fclose(file);
    return QByteArray(text, int(size));
}

} // namespace

class TestAssertFailureException : public QObject
{
    Q_OBJECT

private slots:
    void composesText()
    {
        struct Case
        {
            const char* expression;
            int code;
            std::string message;
            QString expected;
        };
        const Case cases[] = {
            {"x > 0", 7, "Bad value", "Bad value: Assertion 'x > 0' failed in file 'camera' line 42' error code: 7'\n"},
            {"x > 0", kNoCode, "", "Assertion 'x > 0' failed in file 'camera' line 42\n"},
            {"false", 2, "m", "m: Illegal code assertion failed in file 'camera' line 42' error code: 2'\n"},
            {"0", kNoCode, "", "Illegal code assertion failed in file 'camera' line 42\n"},
            {"FALSE", kNoCode, "", "Illegal code assertion failed in file 'camera' line 42\n"},
            {"False", kNoCode, "", "Assertion 'False' failed in file 'camera' line 42\n"}};
        for (const Case& c : cases) {
            QString what;
            const QByteArray reported = stderrOf([&] {
                what = c.code == kNoCode ? AssertFailureException(c.expression, "camera", 42, c.message).what()
                                         : AssertFailureException(c.expression, "camera", 42, c.code, c.message).what();
            });
            QCOMPARE(what, c.expected);
            // Reported once, followed by an empty line.
            QCOMPARE(QString::fromUtf8(reported), c.expected + "\n");
        }
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
