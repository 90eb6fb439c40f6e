#include "windowprobe.h"

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QScopeGuard>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace {
const char* const kLine = "/dev/ttyACM0";
} // namespace

// A pseudo-terminal whose far end stands in for the camera, linked at the
// camera's device path for as long as it lives. Not in the anonymous
// namespace: the test class holds one, and the test class cannot be in it.
class FakeSerialLine
{
public:
    ~FakeSerialLine()
    {
        if (linked)
            ::unlink(kLine);
        closeMaster();
    }
    // Links target, or the pseudo-terminal when empty: empty when the line is
    // there, otherwise why it could not be.
    QByteArray link(QByteArray target)
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
            return "no pseudo-terminal available";
        if (target.isEmpty())
            target = ptsname(master);
        const QFileInfo existing(kLine);
        // A link left behind by a process killed before it could remove it
        // points nowhere; nothing can be using it, so it may be replaced.
        if (existing.isSymLink() && !existing.exists())
            ::unlink(kLine);
        linked = ::symlink(target.constData(), kLine) == 0;
        const int error = errno;
        if (linked)
            return QByteArray();
        QByteArray why = QByteArray("cannot link ").append(kLine).append(": ").append(std::strerror(error));
        if (existing.isSymLink())
            why += " (it points to " + existing.symLinkTarget().toLocal8Bit() + ")";
        return why;
    }
    void closeMaster()
    {
        if (master >= 0)
            ::close(std::exchange(master, -1));
    }
    void send(const QByteArray& bytes) { QVERIFY(::write(master, bytes.constData(), size_t(bytes.size())) == bytes.size()); }
    // Everything the application has written to the camera so far; QTRY_COMPARE
    // lets its event loop run until the bytes are there.
    QByteArray received()
    {
        char buffer[256];
        pollfd p{master, POLLIN, 0};
        const ssize_t n = ::poll(&p, 1, 0) == 1 && (p.revents & POLLIN) ? ::read(master, buffer, sizeof buffer) : 0;
        return all.append(buffer, int(std::max<ssize_t>(n, 0)));
    }

    int master = -1;
    bool linked = false;
    QByteArray all;
};

namespace {

void openSerialPort(MainWindow& window)
{
    QMetaObject::invokeMethod(&window, "openSerialPort", Qt::DirectConnection);
}

} // namespace

// QSKIP only leaves the function it is written in.
#define LINK_LINE_OR_SKIP(...)                                                                                         \
    do {                                                                                                               \
        const QByteArray why = linkLine(__VA_ARGS__);                                                                  \
        if (!why.isEmpty())                                                                                            \
            QSKIP(why.constData());                                                                                    \
    } while (false)

class TestSerial : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_workDir;
    QString m_previousDir;
    std::unique_ptr<FakeSerialLine> m_line;
    std::unique_ptr<MainWindow> m_window;
    QString m_title, m_text;

    // Every test needs the line at the camera's path: empty when it is
    // there, otherwise the reason the test has to be skipped.
    QByteArray linkLine(const QByteArray& target = QByteArray())
    {
        m_line = std::make_unique<FakeSerialLine>();
        return m_line->link(target);
    }
    MainWindow& openWindow(bool kelvane = false)
    {
        Fake::Layer::instance().devices = {Probe::camera()};
        Fake::Layer::instance().devices[0].kelvane = kelvane;
        m_window = std::make_unique<MainWindow>();
        return *m_window;
    }
    // Answers every message box, noting the last one's title and text.
    std::unique_ptr<Probe::ModalHandler<QMessageBox>> answerBoxes()
    {
        return std::make_unique<Probe::ModalHandler<QMessageBox>>([this](QMessageBox* box) {
            m_title = box->windowTitle();
            m_text = box->text();
            box->accept();
        });
    }

private slots:
    void initTestCase()
    {
        // The application runs "./fuser" from its working directory.
        const QString fuser = QStandardPaths::findExecutable("fuser", {"/usr/bin", "/bin", "/usr/sbin", "/sbin"});
        if (fuser.isEmpty())
            QSKIP("fuser (psmisc) is not installed");
        QVERIFY(QFile::link(fuser, m_workDir.filePath("fuser")));
        m_previousDir = QDir::currentPath();
        QDir::setCurrent(m_workDir.path());
    }

    void cleanupTestCase()
    {
        if (!m_previousDir.isEmpty())
            QDir::setCurrent(m_previousDir);
    }

    void init() { Fake::Layer::instance().reset(); }
    void cleanup()
    {
        m_window.reset();
        m_line.reset();
    }

    void makersCameraLinksHalfASecondLater()
    {
        LINK_LINE_OR_SKIP();
        MainWindow& window = openWindow(true);
        QCOMPARE(Probe::consoleText(window), QString());
        QTRY_COMPARE_WITH_TIMEOUT(Probe::consoleText(window), QString("fuser /dev/ttyACM0: ()\n"), 3000);
        // One carriage return on opening, nothing else.
        QTRY_COMPARE(m_line->received(), QByteArray("\r"));
        auto* port = window.findChild<QSerialPort*>();
        QVERIFY(port && port->isOpen());
        QCOMPARE(QList<int>({port->baudRate(), port->dataBits(), port->parity(), port->stopBits(),
                             port->flowControl()}),
                 QList<int>({115200, QSerialPort::Data8, QSerialPort::NoParity, QSerialPort::OneStop,
                             QSerialPort::NoFlowControl}));
        m_line->send("Kelvane camera ready\r\n");
        QTRY_VERIFY(Probe::consoleText(window).contains("Kelvane camera ready"));
    }

    void otherCamerasLeaveTheLineAloneAndAHeldOneIsNotOpened()
    {
        LINK_LINE_OR_SKIP();
        MainWindow& window = openWindow();
        QTest::qWait(800);
        QVERIFY(Probe::consoleText(window).isEmpty());
        QVERIFY(!window.findChild<QSerialPort*>());
        QCOMPARE(m_line->received(), QByteArray());
        // A second opening finds the first one holding the line.
        openSerialPort(window);
        openSerialPort(window);
        QCOMPARE(window.findChildren<QSerialPort*>().size(), 1);
        const QStringList lines = Probe::consoleText(window).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[1].startsWith("fuser /dev/ttyACM0: ("));
        QVERIFY(lines[1].contains(QString::number(QCoreApplication::applicationPid())));
    }

    void quickReselectionsLeaveOneOpenPort()
    {
        LINK_LINE_OR_SKIP();
        // Without fuser a second opening cannot tell that the first holds the
        // line; the first port must be released, not orphaned holding its lock.
        QVERIFY(QFile::rename("fuser", "fuser.away"));
        const auto restore = qScopeGuard([] { QFile::rename("fuser.away", "fuser"); });
        MainWindow& window = openWindow(true);
        const auto boxes = answerBoxes();
        for (int i = 0; i < 3; ++i)
            QMetaObject::invokeMethod(&window, "cameraSelectionChanged", Qt::DirectConnection, Q_ARG(int, 0));
        QTRY_VERIFY(!m_line->received().isEmpty());
        QTest::qWait(800);
        // Each opening sends its carriage return; whether a released port's
        // reached the line before it was closed depends on the machine's load.
        QCOMPARE(m_line->received(), QByteArray(m_line->received().size(), '\r'));
        QCOMPARE(boxes->handled, 0);
        QCOMPARE(window.findChildren<QSerialPort*>().size(), 1);
        QVERIFY(window.findChild<QSerialPort*>()->isOpen());

        // The maker's camera gone within the half second: its opening does nothing.
        QMetaObject::invokeMethod(&window, "cameraSelectionChanged", Qt::DirectConnection, Q_ARG(int, 0));
        Fake::Layer::instance().devices.clear();
        QMetaObject::invokeMethod(&window, "cameraSelectionChanged", Qt::DirectConnection, Q_ARG(int, 0));
        QTest::qWait(800);
        QVERIFY(!window.findChild<QSerialPort*>());
        QVERIFY(Probe::consoleText(window).isEmpty());
        QCOMPARE(boxes->handled, 0);
    }

    void lineThatCannotBeOpenedShowsError()
    {
        LINK_LINE_OR_SKIP("/nonexistent/tty");
        MainWindow& window = openWindow();
        const auto boxes = answerBoxes();
        openSerialPort(window);
        QCOMPARE(boxes->handled, 1);
        QCOMPARE(m_title, QString("Error"));
        // The closed port stays until the next selection closes it.
        auto* port = window.findChild<QSerialPort*>();
        QVERIFY(port && !port->isOpen());
        QCOMPARE(m_text, port->errorString());
        QVERIFY(!m_text.isEmpty());
        QMetaObject::invokeMethod(&window, "cameraSelectionChanged", Qt::DirectConnection, Q_ARG(int, 0));
        QVERIFY(!window.findChild<QSerialPort*>());
    }

    void onlyAResourceErrorOrAHangUpClosesTheLine()
    {
        LINK_LINE_OR_SKIP();
        MainWindow& window = openWindow();
        openSerialPort(window);
        QTRY_COMPARE(m_line->received(), QByteArray("\r"));
        QPointer<QSerialPort> port = window.findChild<QSerialPort*>();
        const auto boxes = answerBoxes();
        for (auto error : {QSerialPort::ReadError, QSerialPort::WriteError, QSerialPort::ParityError,
                           QSerialPort::UnknownError, QSerialPort::ResourceError}) {
            QCOMPARE(boxes->handled, 0);
            QVERIFY(port && port->isOpen());
            QMetaObject::invokeMethod(&window, "handleError", Qt::DirectConnection,
                                      Q_ARG(QSerialPort::SerialPortError, error));
        }
        QCOMPARE(boxes->handled, 1);
        QCOMPARE(m_title, QString("Critical Error"));
        QCOMPARE(m_text, port->errorString());
        QTRY_VERIFY(port.isNull());

        // The camera is gone: its end of the line hangs up. One box only.
        openSerialPort(window);
        port = window.findChild<QSerialPort*>();
        QVERIFY(port && port->isOpen());
        m_title.clear();
        m_line->closeMaster();
        QTRY_COMPARE_WITH_TIMEOUT(boxes->handled, 2, 5000);
        QCOMPARE(m_title, QString("Critical Error"));
        QTRY_VERIFY(port.isNull());
        QTest::qWait(200);
        QCOMPARE(boxes->handled, 2);
        QVERIFY(Probe::consoleText(window).endsWith(")\n"));
    }
};

QTEST_MAIN(TestSerial)
#include "test_serial.moc"
