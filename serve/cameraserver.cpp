#include "cameraserver.h"

#include "camerapipeline.h"

#include <badinput.h>
#include <cameraeventrelay.h>
#include <cameraselector.h>
#include <ctlerror.h>
#include <formatcaps.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QFileInfo>
#include <QUrl>

#include <mutex>

using namespace Tarvello;
using namespace ImageAcquisition;

namespace {

constexpr const char* kRole = "viewer";
// How long an unplugged camera's clients keep their connection: the end of
// the stream (RTCP BYE) goes out first, then the connection is closed.
constexpr guint kCloseDelayMs = 500;
// How often sessions whose clients vanished without a word are cleared.
constexpr guint kSessionCleanupSeconds = 5;

struct PathMatch
{
    QByteArray path;
    bool found = false;
};

GstRTSPFilterResult sessionMediaUses(GstRTSPSession*, GstRTSPSessionMedia* media, gpointer data)
{
    auto* match = static_cast<PathMatch*>(data);
    gint matched = 0;
    if (gst_rtsp_session_media_matches(media, match->path.constData(), &matched))
        match->found = true;
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult sessionUses(GstRTSPClient*, GstRTSPSession* session, gpointer data)
{
    gst_rtsp_session_filter(session, sessionMediaUses, data);
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult closeIfWatching(GstRTSPServer*, GstRTSPClient* client, gpointer data)
{
    PathMatch match{*static_cast<QByteArray*>(data)};
    gst_rtsp_client_session_filter(client, sessionUses, &match);
    return match.found ? GST_RTSP_FILTER_REMOVE : GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult closeAll(GstRTSPServer*, GstRTSPClient*, gpointer)
{
    return GST_RTSP_FILTER_REMOVE;
}

gboolean cleanupSessions(gpointer server)
{
    GstRTSPSessionPool* pool = gst_rtsp_server_get_session_pool(GST_RTSP_SERVER(server));
    gst_rtsp_session_pool_cleanup(pool);
    g_object_unref(pool);
    return G_SOURCE_CONTINUE;
}

} // namespace

struct CameraServer::Inbox
{
    std::mutex mutex;
    CameraServer* server = nullptr;
    GMainContext* context = nullptr;
    GSource* cleanup = nullptr;
};

namespace {

using InboxHold = std::shared_ptr<CameraServer::Inbox>;

// Runs a function later on the server's context, with the server if it
// still exists then.
void later(const std::shared_ptr<CameraServer::Inbox>& inbox, guint delayMs, std::function<void(CameraServer&)> work)
{
    struct Job
    {
        std::shared_ptr<CameraServer::Inbox> inbox;
        std::function<void(CameraServer&)> work;
    };
    GSource* source = delayMs ? g_timeout_source_new(delayMs) : g_idle_source_new();
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            auto* job = static_cast<Job*>(data);
            const std::lock_guard<std::mutex> lock(job->inbox->mutex);
            if (job->inbox->server)
                job->work(*job->inbox->server);
            return G_SOURCE_REMOVE;
        },
        new Job{inbox, std::move(work)}, [](gpointer data) { delete static_cast<Job*>(data); });
    g_source_attach(source, inbox->context);
    g_source_unref(source);
}

} // namespace

CameraServer::CameraServer(const ServeOptions& options, GMainContext* context, Log log)
    : m_options(options), m_context(context), m_log(std::move(log)), m_inbox(std::make_shared<Inbox>())
{
    m_server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(m_server, options.bind.toUtf8().constData());
    gst_rtsp_server_set_service(m_server, QByteArray::number(options.port).constData());
    m_mounts = gst_rtsp_server_get_mount_points(m_server);
    try {
        setUpAuth();
    } catch (...) {
        g_object_unref(m_mounts);
        g_object_unref(m_server);
        throw;
    }
    GError* error = nullptr;
    m_source = gst_rtsp_server_create_source(m_server, nullptr, &error);
    if (!m_source) {
        const QString reason = QString::fromUtf8(error ? error->message : "unknown error");
        g_clear_error(&error);
        g_object_unref(m_mounts);
        g_object_unref(m_server);
        throw CtlError(QString("Cannot listen on %1 port %2: %3").arg(options.bind).arg(options.port).arg(reason),
                       CtlError::kFailed);
    }
    g_source_attach(m_source, m_context);

    m_inbox->server = this;
    m_inbox->context = m_context;
    m_inbox->cleanup = g_timeout_source_new_seconds(kSessionCleanupSeconds);
    g_source_set_callback(m_inbox->cleanup, cleanupSessions, m_server, nullptr);
    g_source_attach(m_inbox->cleanup, m_context);
}

CameraServer::~CameraServer()
{
    if (m_monitor)
        m_monitor->stop();
    m_monitor.reset();
    m_relay.reset();
    {
        const std::lock_guard<std::mutex> lock(m_inbox->mutex);
        m_inbox->server = nullptr;
    }
    g_source_destroy(m_inbox->cleanup);
    g_source_unref(m_inbox->cleanup);
    // Every client goes, and with the last of a camera's its pipeline.
    GList* closed = gst_rtsp_server_client_filter(m_server, closeAll, nullptr);
    g_list_free_full(closed, g_object_unref);
    g_source_destroy(m_source);
    g_source_unref(m_source);
    g_object_unref(m_mounts);
    g_object_unref(m_server);
}

void CameraServer::setUpAuth()
{
    if (m_options.users.isEmpty() && m_options.certificate.isEmpty())
        return;
    GstRTSPAuth* auth = gst_rtsp_auth_new();
    GstRTSPToken* token = gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, kRole, nullptr);
    if (!m_options.certificate.isEmpty()) {
        GError* error = nullptr;
        const QString keyFile = m_options.key.isEmpty() ? m_options.certificate : m_options.key;
        GTlsBackend* backend = g_tls_backend_get_default();
        GTlsCertificate* certificate =
            g_tls_backend_supports_tls(backend)
                ? g_tls_certificate_new_from_files(m_options.certificate.toUtf8().constData(),
                                                   keyFile.toUtf8().constData(), &error)
                : nullptr;
        if (!certificate) {
            const QString reason = error ? QString::fromUtf8(error->message)
                                         : QString("GLib has no TLS backend (glib-networking)");
            g_clear_error(&error);
            gst_rtsp_token_unref(token);
            g_object_unref(auth);
            throw CtlError(QString("Cannot use the certificate %1: %2").arg(m_options.certificate, reason),
                           CtlError::kFailed);
        }
        gst_rtsp_auth_set_tls_certificate(auth, certificate);
        g_object_unref(certificate);
        m_tls = true;
    }
    for (const ServeOptions::Credential& user : m_options.users) {
        gst_rtsp_auth_add_digest(auth, user.first.toUtf8().constData(), user.second.toUtf8().constData(), token);
        // Basic sends the password itself: only inside TLS.
        if (m_tls) {
            gchar* basic = gst_rtsp_auth_make_basic(user.first.toUtf8().constData(), user.second.toUtf8().constData());
            gst_rtsp_auth_add_basic(auth, basic, token);
            g_free(basic);
        }
    }
    gst_rtsp_auth_set_supported_methods(
        auth, m_tls ? GstRTSPAuthMethod(GST_RTSP_AUTH_BASIC | GST_RTSP_AUTH_DIGEST) : GST_RTSP_AUTH_DIGEST);
    // TLS without users: anyone who can reach it may watch.
    if (m_options.users.isEmpty())
        gst_rtsp_auth_set_default_token(auth, token);
    gst_rtsp_token_unref(token);
    gst_rtsp_server_set_auth(m_server, auth);
    g_object_unref(auth);
}

int CameraServer::port() const
{
    return gst_rtsp_server_get_bound_port(m_server);
}

QString CameraServer::urlOf(const QString& path) const
{
    const QString host = m_options.bind.contains(':') ? '[' + m_options.bind + ']' : m_options.bind;
    return QString("%1://%2:%3%4").arg(m_tls ? "rtsps" : "rtsp", host).arg(port()).arg(path);
}

CameraServer::Served CameraServer::refresh()
{
    Served served;
    const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
    QHash<QString, const CameraEntry*> present;
    for (const CameraEntry& camera : cameras)
        present.insert(camera.identity(), &camera);
    for (auto it = m_served.begin(); it != m_served.end();) {
        if (present.contains(it.key())) {
            ++it;
            continue;
        }
        const Mount gone = it.value();
        it = m_served.erase(it);
        gst_rtsp_mount_points_remove_factory(m_mounts, gone.path.toUtf8().constData());
        m_log(QString("%1 is gone: %2 ends.").arg(gone.name, urlOf(gone.path)), false);
        const QByteArray path = gone.path.toUtf8();
        later(m_inbox, kCloseDelayMs, [path](CameraServer& server) { server.closeClientsOf(QString::fromUtf8(path)); });
    }
    for (const CameraEntry& camera : cameras) {
        if (m_served.contains(camera.identity()))
            ++served.served;
        else
            addMount(camera, CameraSelector(cameras).selectorOf(camera), &served);
    }
    return served;
}

void CameraServer::addMount(const CameraEntry& camera, const QString& selector, Served* served)
{
    const QString name = camera.serial.isEmpty() ? QString("%1 (%2)").arg(camera.name, camera.node)
                                                 : QString("%1, serial %2").arg(camera.name, camera.serial);
    QString launch;
    QString described;
    try {
        const OpenCamera open(selector);
        const FormatChoice format(open.camera(), m_options.format);
        if (GstStructure* structure = FormatCaps::structureOf(format.fourcc))
            gst_structure_free(structure);
        else
            throw BadInput(QString("its format %1 cannot be served; choose another with --format.").arg(format.fourcc));
        launch = CameraPipeline::launch(selector, format);
        const QString problem = CameraPipeline::check(launch);
        if (!problem.isEmpty())
            throw CtlError(QString("its pipeline cannot be made: %1").arg(problem), CtlError::kFailed);
        described = CameraPipeline::describe(format);
    } catch (const CtlError& error) {
        m_log(QString("Not serving %1: %2").arg(name, error.message()), true);
        ++served->refused;
        return;
    }
    const QString segment = camera.serial.isEmpty() ? QFileInfo(camera.node).fileName() : camera.serial;
    const QString path = '/' + QString::fromUtf8(QUrl::toPercentEncoding(segment));

    GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(factory, launch.toUtf8().constData());
    // One camera, one pipeline: every client of the camera shares it.
    gst_rtsp_media_factory_set_shared(factory, TRUE);
    if (!m_options.users.isEmpty() || m_tls)
        gst_rtsp_media_factory_add_role(factory, kRole, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS, G_TYPE_BOOLEAN, TRUE,
                                        GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT, G_TYPE_BOOLEAN, TRUE, nullptr);
    gst_rtsp_mount_points_add_factory(m_mounts, path.toUtf8().constData(), factory);
    m_served.insert(camera.identity(), Mount{path, name});
    ++served->served;
    m_log(QString("Serving %1 at %2 (%3)").arg(name, urlOf(path), described), false);
}

void CameraServer::closeClientsOf(const QString& path)
{
    QByteArray wanted = path.toUtf8();
    GList* closed = gst_rtsp_server_client_filter(m_server, closeIfWatching, &wanted);
    g_list_free_full(closed, g_object_unref);
}

void CameraServer::watch()
{
    const std::shared_ptr<Inbox> inbox = m_inbox;
    m_relay = std::make_unique<CameraEventRelay>(
        [inbox] { later(inbox, 0, [](CameraServer& server) { server.refresh(); }); });
    m_monitor.reset(ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
    if (m_monitor)
        m_monitor->start(m_relay.get());
}
