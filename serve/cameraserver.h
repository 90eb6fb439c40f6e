#pragma once

#include "serveoptions.h"

#include <cameraentry.h>

#include <gst/rtsp-server/rtsp-server.h>

#include <QHash>
#include <QString>

#include <functional>
#include <memory>

namespace ImageAcquisition {
class IContinuousCameraMonitor;
}

namespace Tarvello {
class CameraEventRelay;
}

// The RTSP server of tarvello-serve: every camera present at
// rtsp://HOST:PORT/SERIAL (its node's name when it has no serial), one
// shared pipeline per camera however many clients watch it. Follows
// plugs and unplugs: an unplugged camera's mount goes, its clients' streams
// end (the element's error ends the pipeline with EOS, so each client gets
// the RTCP BYE) and their connections are closed; a camera plugged back in
// is served again.
//
// Runs on one GLib main context (the thread that iterates it): the
// constructor, refresh() and the destructor belong there; the layer's
// monitor only queues a refresh onto it.
class CameraServer
{
public:
    // A line for the user; problem: a camera that is not served.
    using Log = std::function<void(const QString& line, bool problem)>;

    // Listens at once. Throws CtlError (failed) when it cannot listen or
    // the certificate cannot be used.
    CameraServer(const ServeOptions& options, GMainContext* context, Log log);
    ~CameraServer();
    CameraServer(const CameraServer&) = delete;
    CameraServer& operator=(const CameraServer&) = delete;

    int port() const;
    // Mounts the cameras present now, unmounts the ones gone. Returns how
    // many are served and how many present were refused (a format they
    // do not offer, or busy).
    struct Served
    {
        int served = 0;
        int refused = 0;
    };
    Served refresh();
    // Starts following plugs and unplugs.
    void watch();
    QString urlOf(const QString& path) const;

    // What work queued onto the context (by the monitor's thread, or for
    // later) reaches: cleared when the server goes, so that work that comes
    // due late finds nothing to do.
    struct Inbox;

private:
    struct Mount
    {
        QString path;
        QString name;
    };
    void addMount(const Tarvello::CameraEntry& camera, const QString& selector, Served* served);
    void closeClientsOf(const QString& path);
    void setUpAuth();

    ServeOptions m_options;
    GMainContext* m_context;
    Log m_log;
    GstRTSPServer* m_server = nullptr;
    GstRTSPMountPoints* m_mounts = nullptr;
    GSource* m_source = nullptr;
    bool m_tls = false;
    QHash<QString, Mount> m_served; // by the camera's identity

    std::shared_ptr<Inbox> m_inbox;
    std::unique_ptr<Tarvello::CameraEventRelay> m_relay;
    std::unique_ptr<ImageAcquisition::IContinuousCameraMonitor> m_monitor;
};
