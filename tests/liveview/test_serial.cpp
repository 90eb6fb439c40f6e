#include "windowprobe.h"

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
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

// A pseudo-terminal whose far end stands in for the camera, linked at the
// camera's device path for as long as it lives.
class FakeSerialLine
{
public:
    FakeSerialLine()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
            return;
        slavePath = ptsname(master);
    }
    ~FakeSerialLine()
    {
        unlink();
        closeMaster();
    }
    // Empty when the line is linked, otherwise why it could not be.
    QByteArray link(const QByteArray& target = QByteArray())
    {
        const QByteArray to = target.isEmpty() ? slavePath : target;
        if (::symlink(to.constData(), kLine) == 0) {
            linked = true;
            return QByteArray();
        }
        const int error = errno;
        // A link left behind by a process killed before it could remove it
        // points nowhere; nothing can be using it, so it may be replaced.
        const QFileInfo existing(kLine);
        if (error == EEXIST && existing.isSymLink() && !existing.exists() && ::unlink(kLine) == 0
            && ::symlink(to.constData(), kLine) == 0) {
            linked = true;
            return QByteArray();
        }
        QByteArray why = QByteArray("cannot link ").append(kLine).append(": ").append(std::strerror(error));
        if (existing.isSymLink())
            why += " (it points to " + existing.symLinkTarget().toLocal8Bit() + ")";
        return why;
    }
    void unlink()
    {
        if (std::exchange(linked, false))
            ::unlink(kLine);
    }
    void closeMaster()
    {
        if (master >= 0)
            ::close(std::exchange(master, -1));
    }
    void send(const QByteArray& bytes) { QVERIFY(::write(master, bytes.constData(), size_t(bytes.size())) == bytes.size()); }
    // What the application wrote to the camera, waiting up to timeoutMs for it.
    QByteArray received(int timeoutMs = 2000)
    {
        QByteArray all;
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < timeoutMs) {
            QCoreApplication::processEvents();
            pollfd p{master, POLLIN, 0};
            if (::poll(&p, 1, 20) == 1 && (p.revents & POLLIN)) {
                char buffer[256];
                const ssize_t n = ::read(master, buffer, sizeof buffer);
                if (n > 0) {
                    all.append(buffer, int(n));
                    continue;
                }
            }
            if (!all.isEmpty())
                break;
        }
        return all;
    }

    int master = -1;
    QByteArray slavePath;
    bool linked = false;
};

Fake::DeviceSpec device(bool kelvane)
{
    Fake::DeviceSpec spec;
    spec.name = kelvane ? "Kelvane camera" : "webcam";
    spec.kelvane = kelvane;
    return spec;
}

QString consoleText(MainWindow& window)
{
    return window.findChild<Console*>("console")->toPlainText();
}

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

    // Every test needs the line at the camera's path: empty when it is
    // there, otherwise the reason the test has to be skipped.
    QByteArray linkLine(const QByteArray& target = QByteArray())
    {
        m_line = std::make_unique<FakeSerialLine>();
        if (m_line->master < 0)
            return "no pseudo-terminal available";
        return m_line->link(target);
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
    void cleanup() { m_line.reset(); }

    void makersCameraLinksHalfASecondLater()
    {
        LINK_LINE_OR_SKIP();
        Fake::Layer::instance().devices = {device(true)};
        MainWindow window;
        QCOMPARE(consoleText(window), QString());
        QTRY_COMPARE_WITH_TIMEOUT(consoleText(window), QString("fuser /dev/ttyACM0: ()\n"), 3000);

        // One carriage return on opening, nothing else.
        QCOMPARE(m_line->received(), QByteArray("\r"));
        auto* port = window.findChild<QSerialPort*>();
        QVERIFY(port && port->isOpen());
        QCOMPARE(port->baudRate(), 115200);
        QCOMPARE(port->dataBits(), QSerialPort::Data8);
        QCOMPARE(port->parity(), QSerialPort::NoParity);
        QCOMPARE(port->stopBits(), QSerialPort::OneStop);
        QCOMPARE(port->flowControl(), QSerialPort::NoFlowControl);

        m_line->send("Kelvane camera ready\r\n");
        QTRY_VERIFY(consoleText(window).contains("Kelvane camera ready"));
    }

    void otherCamerasLeaveTheLineAlone()
    {
        LINK_LINE_OR_SKIP();
        Fake::Layer::instance().devices = {device(false)};
        MainWindow window;
        QTest::qWait(800);
        QVERIFY(consoleText(window).isEmpty());
        QVERIFY(!window.findChild<QSerialPort*>());
        QCOMPARE(m_line->received(200), QByteArray());
    }

    void heldLineIsNotOpened()
    {
        // A second opening finds the first one holding the line.
        LINK_LINE_OR_SKIP();
        Fake::Layer::instance().devices = {device(false)};
        MainWindow window;
        openSerialPort(window);
        openSerialPort(window);
        QCOMPARE(window.findChildren<QSerialPort*>().size(), 1);
        const QStringList lines = consoleText(window).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[1].startsWith("fuser /dev/ttyACM0: ("));
        QVERIFY(lines[1].contains(QString::number(QCoreApplication::applicationPid())));
    }

    void lineThatCannotBeOpenedShowsError()
    {
        LINK_LINE_OR_SKIP("/nonexistent/tty");
        Fake::Layer::instance().devices = {device(false)};
        MainWindow window;
        QString title, text;
        Probe::ModalHandler<QMessageBox> handler([&](QMessageBox* box) {
            title = box->windowTitle();
            text = box->text();
            box->accept();
        });
        openSerialPort(window);
        QCOMPARE(handler.handled, 1);
        QCOMPARE(title, QString("Error"));
        QVERIFY(!text.isEmpty());
        // The closed port stays until the next selection closes it.
        auto* port = window.findChild<QSerialPort*>();
        QVERIFY(port && !port->isOpen());
        QCOMPARE(text, port->errorString());
        Probe::combos(window)[0]->setCurrentIndex(0);
        QMetaObject::invokeMethod(&window, "cameraSelectionChanged", Qt::DirectConnection, Q_ARG(int, 0));
        QVERIFY(!window.findChild<QSerialPort*>());
    }

    void vanishingLineShowsCriticalErrorAndReleasesThePort()
    {
        LINK_LINE_OR_SKIP();
        Fake::Layer::instance().devices = {device(false)};
        MainWindow window;
        openSerialPort(window);
        QCOMPARE(m_line->received(), QByteArray("\r"));
        QPointer<QSerialPort> port = window.findChild<QSerialPort*>();
        QVERIFY(port);

        QString title;
        Probe::ModalHandler<QMessageBox> handler([&](QMessageBox* box) {
            title = box->windowTitle();
            box->accept();
        });
        // The camera is gone: its end of the line hangs up.
        m_line->closeMaster();
        QTRY_COMPARE_WITH_TIMEOUT(handler.handled, 1, 5000);
        QCOMPARE(title, QString("Critical Error"));
        QTRY_VERIFY(port.isNull());
        QTest::qWait(200);
        QCOMPARE(handler.handled, 1);
        QVERIFY(consoleText(window).endsWith(")\n"));
    }

    void onlyAResourceErrorClosesTheLine()
    {
        LINK_LINE_OR_SKIP();
        Fake::Layer::instance().devices = {device(false)};
        MainWindow window;
        openSerialPort(window);
        QPointer<QSerialPort> port = window.findChild<QSerialPort*>();
        QString title, text;
        Probe::ModalHandler<QMessageBox> handler([&](QMessageBox* box) {
            title = box->windowTitle();
            text = box->text();
            box->accept();
        });
        const auto report = [&](QSerialPort::SerialPortError error) {
            QMetaObject::invokeMethod(&window, "handleError", Qt::DirectConnection,
                                      Q_ARG(QSerialPort::SerialPortError, error));
        };
        for (auto error : {QSerialPort::ReadError, QSerialPort::WriteError, QSerialPort::ParityError,
                           QSerialPort::UnknownError})
            report(error);
        QCOMPARE(handler.handled, 0);
        QVERIFY(port && port->isOpen());
        m_line->send("still here\n");
        QTRY_VERIFY(consoleText(window).contains("still here"));

        report(QSerialPort::ResourceError);
        QCOMPARE(handler.handled, 1);
        QCOMPARE(title, QString("Critical Error"));
        QCOMPARE(text, port->errorString());
        QTRY_VERIFY(port.isNull());
    }
};

QTEST_MAIN(TestSerial)
#include "test_serial.moc"
