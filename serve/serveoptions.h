#pragma once

#include <formatchoice.h>

#include <QCommandLineParser>
#include <QPair>
#include <QString>
#include <QVector>

// What tarvello-serve is asked to do, from its command line, checked
// before anything is opened.
struct ServeOptions
{
    using Credential = QPair<QString, QString>; // user, password

    QString bind = "127.0.0.1";
    int port = 8554; // 0: any free port
    QVector<Credential> users;
    bool noAuth = false;
    QString certificate; // PEM file; with it the server speaks RTSP over TLS (rtsps://)
    QString key;         // PEM file of the key, when not in the certificate's file
    Tarvello::FormatChoice::Request format;

    static void addOptions(QCommandLineParser& parser);
    // Throws BadInput for values that mean nothing (a port out of range, a
    // credential without a colon, --no-auth with credentials, an address
    // beyond this machine without credentials) and CtlError (failed) for an
    // auth file that cannot be read.
    static ServeOptions from(const QCommandLineParser& parser);

    // "USER:PASSWORD"; throws BadInput naming where it came from.
    static Credential credential(const QString& text, const QString& origin);
    // Lines of USER:PASSWORD; blank lines and lines starting with # are skipped.
    static QVector<Credential> readAuthFile(const QString& file);
    // Whether every address the name stands for is on this machine
    // (127.0.0.0/8, ::1); throws BadInput when it stands for none.
    static bool isLoopback(const QString& address);
};
