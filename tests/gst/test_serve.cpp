// tarvello-serve: the RTSP server in the test's own process, watched by
// rtspsrc clients on 127.0.0.1 (two cameras at once, JPEG and H.264,
// several clients of one camera, credentials, an unplug), and the program
// as users run it (bad input, a port that is taken, a clean stop).
#include "gsttesting.h"

#include <cameraselector.h>
#include <cameraserver.h>
#include <serveoptions.h>
#include <tarvelloplugin.h>

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <mutex>
#include <thread>

using namespace GstTesting;
using namespace Tarvello;

namespace {

// A server on a main context of its own, iterated by a thread of its own.
class RunningServer
{
public:
    explicit RunningServer(ServeOptions options)
    {
        options.port = 0;
        m_context = g_main_context_new();
        m_loop = g_main_loop_new(m_context, FALSE);
        m_server = std::make_unique<CameraServer>(options, m_context, [this](const QString& line, bool) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_log << line;
        });
        m_server->refresh();
        m_server->watch();
        m_thread = std::thread([this] {
            g_main_context_push_thread_default(m_context);
            g_main_loop_run(m_loop);
            g_main_context_pop_thread_default(m_context);
        });
    }
    ~RunningServer()
    {
        while (!g_main_loop_is_running(m_loop))
            std::this_thread::yield();
        g_main_loop_quit(m_loop);
        m_thread.join();
        m_server.reset();
        while (g_main_context_iteration(m_context, FALSE)) {
        }
        g_main_loop_unref(m_loop);
        g_main_context_unref(m_context);
    }

    QString url(const QString& serial) const { return m_server->urlOf('/' + serial); }
    QStringList log() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_log;
    }

private:
    GMainContext* m_context = nullptr;
    GMainLoop* m_loop = nullptr;
    std::unique_ptr<CameraServer> m_server;
    std::thread m_thread;
    mutable std::mutex m_mutex;
    QStringList m_log;
};

// rtspsrc into an appsink, over TCP so that nothing is lost on the way.
struct Client
{
    Element pipeline;
    Element sink;

    Client(const QString& url, const QString& depayloader, const QString& credentials = QString())
    {
        // The end of the stream reaches the bus even when frames wait unread.
        pipeline = launch(QString("rtspsrc location=\"%1\" protocols=tcp latency=100 %2 ! %3 ! appsink name=sink "
                                  "sync=false wait-on-eos=false")
                              .arg(url, credentials, depayloader));
        sink = byName(pipeline.get(), "sink");
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    }
    ~Client() { gst_element_set_state(pipeline.get(), GST_STATE_NULL); }
    bool receives(int frames)
    {
        for (int i = 0; i < frames; ++i) {
            if (!pull(sink.get(), 10000))
                return false;
        }
        return true;
    }
};

ServeOptions options(const QString& fourcc)
{
    ServeOptions options;
    options.format.fourcc = fourcc;
    options.format.size = FormatChoice::Size{320, 240};
    return options;
}

struct Run
{
    int status = -1;
    QString out;
    QString err;
};

Run serve(const QStringList& arguments)
{
    QProcess process;
    process.start(TARVELLO_SERVE, arguments);
    process.waitForFinished(20000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class TestServe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        gst_init(nullptr, nullptr);
        QVERIFY(TarvelloPlugin::registerStatic());
        qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "2");
        QVERIFY(CameraSelector::presentCameras().size() >= 2);
    }

    void cleanupTestCase() { gst_deinit(); }

    void twoCamerasAtOnceAndSeveralClientsOfOne()
    {
        const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
        // One server sends JPEG as it comes, the other encodes raw frames.
        const RunningServer jpeg(options("MJPG"));
        const RunningServer h264(options("RGB3"));
        QVERIFY2(jpeg.log().join('\n').contains("sent as JPEG"), qPrintable(jpeg.log().join('\n')));
        QVERIFY2(h264.log().join('\n').contains("encoded to H.264"), qPrintable(h264.log().join('\n')));
        Client first(jpeg.url(cameras[0].serial), "rtpjpegdepay");
        Client second(jpeg.url(cameras[0].serial), "rtpjpegdepay");
        Client third(h264.url(cameras[1].serial), "rtph264depay");
        QVERIFY(first.receives(10));
        QVERIFY(second.receives(10));
        QVERIFY(third.receives(10));
    }

    void credentialsAreRequiredWhenGiven()
    {
        ServeOptions withUsers = options("MJPG");
        withUsers.users = {{"alice", "s3cret pass"}};
        const RunningServer server(withUsers);
        const QString url = server.url(CameraSelector::presentCameras().first().serial);
        for (const QString& credentials : {QString(), QString("user-id=alice user-pw=wrong")}) {
            Client refused(url, "rtpjpegdepay", credentials);
            const Outcome outcome = waitForEnd(refused.pipeline.get(), 10000);
            QCOMPARE(outcome.type, GST_MESSAGE_ERROR);
            QVERIFY2(outcome.code == GST_RESOURCE_ERROR_NOT_AUTHORIZED, qPrintable(outcome.text));
        }
        Client allowed(url, "rtpjpegdepay", "user-id=alice user-pw=\"s3cret pass\"");
        QVERIFY(allowed.receives(5));
    }

    void anUnpluggedCameraEndsItsClientsAndComesBack()
    {
        using ImageAcquisition::VirtualCameras::count;
        using ImageAcquisition::VirtualCameras::plug;
        using ImageAcquisition::VirtualCameras::unplug;
        plug();
        const QString serial = CameraSelector::presentCameras().last().serial;
        const RunningServer server(options("MJPG"));
        {
            Client watching(server.url(serial), "rtpjpegdepay");
            QVERIFY(watching.receives(3));
            QElapsedTimer timer;
            timer.start();
            QVERIFY(unplug(count() - 1));
            // The stream ends for the client: EOS from the RTCP BYE, or an
            // error when the closed connection comes first; never a hang.
            const Outcome outcome = waitForEnd(watching.pipeline.get(), 5000);
            QVERIFY2(outcome.type != GST_MESSAGE_UNKNOWN, "the client's stream did not end");
            QVERIFY2(outcome.type == GST_MESSAGE_EOS, qPrintable(outcome.text));
            QVERIFY(timer.elapsed() < 3000);
        }
        QTRY_VERIFY(server.log().join('\n').contains(serial + " is gone"));
        {
            Client late(server.url(serial), "rtpjpegdepay");
            const Outcome outcome = waitForEnd(late.pipeline.get(), 10000);
            QCOMPARE(outcome.type, GST_MESSAGE_ERROR);
            QVERIFY2(outcome.text.contains("Not found", Qt::CaseInsensitive), qPrintable(outcome.text));
        }
        // Whatever is plugged in next is served.
        plug();
        const QString next = CameraSelector::presentCameras().last().serial;
        QTRY_VERIFY(server.log().join('\n').contains("at " + server.url(next)));
        Client back(server.url(next), "rtpjpegdepay");
        QVERIFY(back.receives(3));
        QVERIFY(unplug(count() - 1));
    }

    void commandLineRefusesBadInput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("port out of range") << QStringList{"--port", "70000"} << 2 << "--port takes a number";
        QTest::newRow("beyond loopback without credentials")
            << QStringList{"--bind", "0.0.0.0"} << 2 << "reaches beyond this machine";
        QTest::newRow("unreadable auth file") << QStringList{"--auth-file", "/nonexistent/users"} << 1
                                              << "Cannot read /nonexistent/users";
        QTest::newRow("malformed credential") << QStringList{"--auth", "alice"} << 2 << "USER:PASSWORD";
        QTest::newRow("no-auth with credentials")
            << QStringList{"--no-auth", "--auth", "a:b"} << 2 << "contradict";
        QTest::newRow("format nobody offers") << QStringList{"--port", "0", "--format", "H264"} << 2
                                              << "has no format 'H264'";
        QTest::newRow("unknown option") << QStringList{"--colour"} << 2 << "Unknown option";
    }

    void commandLineRefusesBadInput()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        const Run run = serve(arguments);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message), qPrintable(run.out + run.err));
    }

    void aPortThatIsTakenIsAFailure()
    {
        const int taken = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        QVERIFY(::bind(taken, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        QVERIFY(::listen(taken, 1) == 0);
        QVERIFY(::getsockname(taken, reinterpret_cast<sockaddr*>(&address), &length) == 0);
        const Run run = serve({"--port", QString::number(ntohs(address.sin_port))});
        ::close(taken);
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains("Cannot listen on 127.0.0.1"), qPrintable(run.err));
    }

    void theProgramServesUntilTerminated()
    {
        QProcess process;
        process.start(TARVELLO_SERVE, {"--port", "0"});
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += process.readAllStandardOutput()).contains("Serving"), 20000);
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestServe)
#include "test_serve.moc"
