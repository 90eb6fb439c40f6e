// tarvello-serve: every camera over RTSP, rtsp://HOST:PORT/SERIAL, until
// interrupted (Ctrl-C, SIGTERM).
#include "cameraserver.h"
#include "serveoptions.h"

#include <ctlerror.h>
#include <tarvelloplugin.h>

#include <glib-unix.h>
#include <gst/gst.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStringList>

#include <csignal>
#include <cstdio>
#include <memory>

namespace {

const char* const kSummary =
    "Serves every camera over RTSP at rtsp://HOST:PORT/SERIAL (a camera without a serial number under its "
    "node's name), until interrupted. JPEG frames (MJPG) are sent as they come, as RTP/JPEG; raw formats are "
    "encoded to H.264. A camera unplugged ends its clients' streams and is served again when it returns. "
    "Listens on this machine only unless --bind says otherwise; any other address needs credentials "
    "(--auth, --auth-file) or an explicit --no-auth.";

const char* const kExitStatuses =
    "Exit status:\n"
    "  0  stopped by an interrupt (Ctrl-C, SIGTERM)\n"
    "  1  failure (cannot listen, a file that cannot be read, a certificate that cannot be used)\n"
    "  2  bad input (unknown option, bad port or address, malformed credentials, no camera offers the format)\n";

void print(FILE* stream, const QString& text)
{
    std::fprintf(stream, "%s\n", text.toUtf8().constData());
    std::fflush(stream);
}

// Stays attached: serve() removes both signal sources when the loop ends.
gboolean quit(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

int serve(const ServeOptions& options)
{
    if (!TarvelloPlugin::registerStatic())
        throw Tarvello::CtlError("Cannot register the tarvellosrc element with GStreamer.", Tarvello::CtlError::kFailed);
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, FALSE),
                                                                        g_main_loop_unref);
    // Caught from before the first address is printed: whoever starts the
    // server may stop it as soon as it has read one.
    struct SignalSources
    {
        guint interrupt;
        guint terminate;
        ~SignalSources()
        {
            g_source_remove(interrupt);
            g_source_remove(terminate);
        }
    };
    int status = 0;
    {
        const SignalSources signals{g_unix_signal_add(SIGINT, quit, loop.get()),
                                    g_unix_signal_add(SIGTERM, quit, loop.get())};
        CameraServer server(options, nullptr,
                            [](const QString& line, bool problem) { print(problem ? stderr : stdout, line); });
        server.watch();
        const CameraServer::Served served = server.refresh();
        if (served.served == 0 && served.refused > 0) {
            print(stderr, "tarvello-serve: no camera offers what was asked for.");
            status = Tarvello::CtlError::kBadInput;
        } else {
            if (served.served == 0)
                print(stdout, QString("No camera yet; listening on port %1 for the first.").arg(server.port()));
            g_main_loop_run(loop.get());
        }
    }
    // What the clients' going left behind (pipelines set to rest) runs out.
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    gst_init(&argc, &argv);
    // For the command line's help texts only: the server runs GLib's loop.
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("tarvello-serve");
    QCoreApplication::setApplicationVersion(TARVELLO_VERSION);
    const QStringList arguments = QCoreApplication::arguments();

    QCommandLineParser parser;
    parser.setApplicationDescription(kSummary);
    ServeOptions::addOptions(parser);
    parser.addOption({{"h", "help"}, "Show this help."});
    parser.addOption({{"v", "version"}, "Show the version."});
    int status = 0;
    if (!parser.parse(arguments)) {
        print(stderr, "tarvello-serve: " + parser.errorText());
        status = Tarvello::CtlError::kBadInput;
    } else if (!parser.positionalArguments().isEmpty()) {
        print(stderr, "tarvello-serve: unexpected argument '" + parser.positionalArguments().first() + "'.");
        status = Tarvello::CtlError::kBadInput;
    } else if (parser.isSet("help")) {
        QString help = parser.helpText();
        help.replace(QRegularExpression("^Usage: \\S+"), "Usage: tarvello-serve");
        std::printf("%s\n%s", help.toUtf8().constData(), kExitStatuses);
    } else if (parser.isSet("version")) {
        std::printf("tarvello-serve %s\n", TARVELLO_VERSION);
    } else {
        try {
            status = serve(ServeOptions::from(parser));
        } catch (const Tarvello::CtlError& error) {
            print(stderr, "tarvello-serve: " + error.message());
            status = error.exitCode();
        }
    }
    gst_deinit();
    return status;
}
