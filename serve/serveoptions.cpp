#include "serveoptions.h"

#include <badinput.h>
#include <ctlerror.h>

#include <gio/gio.h>

#include <QFile>

using Tarvello::BadInput;
using Tarvello::CtlError;
using Tarvello::FormatChoice;

void ServeOptions::addOptions(QCommandLineParser& parser)
{
    parser.addOption({"bind", "The address to listen on (default 127.0.0.1, this machine only). Any other "
                              "address needs credentials, or --no-auth.",
                      "address"});
    parser.addOption({"port", "The TCP port to listen on (default 8554; 0 picks a free one).", "port"});
    parser.addOption({"auth", "A user who may watch, USER:PASSWORD (may be repeated). Clients must then "
                              "authenticate (digest; also basic over TLS).",
                      "user:password"});
    parser.addOption({"auth-file", "Users who may watch, one USER:PASSWORD a line; blank lines and lines "
                                   "starting with # are skipped. Keeps passwords out of the process list.",
                      "file"});
    parser.addOption({"no-auth", "Serve anyone who can reach the address, without credentials."});
    parser.addOption({"cert", "A PEM certificate (and its key, unless --key names it): serve over TLS, "
                              "rtsps://.",
                      "file"});
    parser.addOption({"key", "The PEM private key of --cert.", "file"});
    parser.addOption({"format", "Pixel format to serve by four-character code (MJPG is sent as it comes, "
                                "as RTP/JPEG; raw formats are encoded to H.264). Default: the camera's current one.",
                      "fourcc"});
    parser.addOption({"size", "Frame size, WIDTHxHEIGHT.", "size"});
    parser.addOption({"interval", "Frame interval as N/D seconds (1/30).", "interval"});
    parser.addOption({"fps", "Frame rate; the interval closest to it.", "rate"});
}

ServeOptions ServeOptions::from(const QCommandLineParser& parser)
{
    ServeOptions options;
    if (parser.isSet("bind"))
        options.bind = parser.value("bind").trimmed();
    if (options.bind.isEmpty())
        throw BadInput("--bind takes an address (such as 127.0.0.1 or 0.0.0.0).");
    if (parser.isSet("port")) {
        bool ok = false;
        const int port = parser.value("port").toInt(&ok);
        if (!ok || port < 0 || port > 65535)
            throw BadInput(QString("--port takes a number from 0 to 65535, not '%1'.").arg(parser.value("port")));
        options.port = port;
    }
    for (const QString& text : parser.values("auth"))
        options.users.append(credential(text, "--auth"));
    if (parser.isSet("auth-file"))
        options.users += readAuthFile(parser.value("auth-file"));
    options.noAuth = parser.isSet("no-auth");
    if (options.noAuth && !options.users.isEmpty())
        throw BadInput("--no-auth and credentials (--auth, --auth-file) contradict each other.");
    options.certificate = parser.value("cert");
    options.key = parser.value("key");
    if (!options.key.isEmpty() && options.certificate.isEmpty())
        throw BadInput("--key needs --cert.");
    options.format = FormatChoice::requestFromText(parser.value("format"), parser.value("size"),
                                                   parser.value("interval"), parser.value("fps"));
    if (options.users.isEmpty() && !options.noAuth && !isLoopback(options.bind))
        throw BadInput(QString("Serving on %1 reaches beyond this machine: give the users who may watch "
                               "(--auth USER:PASSWORD or --auth-file FILE), or --no-auth to serve anyone.")
                           .arg(options.bind));
    return options;
}

ServeOptions::Credential ServeOptions::credential(const QString& text, const QString& origin)
{
    const int colon = text.indexOf(':');
    if (colon <= 0 || colon == text.size() - 1)
        throw BadInput(QString("%1: a credential is USER:PASSWORD, both not empty.").arg(origin));
    return {text.left(colon), text.mid(colon + 1)};
}

QVector<ServeOptions::Credential> ServeOptions::readAuthFile(const QString& file)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly))
        throw CtlError(QString("Cannot read %1: %2").arg(file, input.errorString()), CtlError::kFailed);
    QVector<Credential> users;
    int number = 0;
    for (const QByteArray& raw : input.readAll().split('\n')) {
        ++number;
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        users.append(credential(line, QString("%1, line %2").arg(file).arg(number)));
    }
    if (users.isEmpty())
        throw BadInput(QString("%1 names no user (USER:PASSWORD lines).").arg(file));
    return users;
}

bool ServeOptions::isLoopback(const QString& address)
{
    GError* error = nullptr;
    GResolver* resolver = g_resolver_get_default();
    GList* addresses = g_resolver_lookup_by_name(resolver, address.toUtf8().constData(), nullptr, &error);
    g_object_unref(resolver);
    if (!addresses) {
        const QString reason = QString::fromUtf8(error ? error->message : "no address");
        g_clear_error(&error);
        throw BadInput(QString("--bind %1: %2").arg(address, reason));
    }
    bool loopback = true;
    for (GList* item = addresses; item; item = item->next)
        loopback = loopback && g_inet_address_get_is_loopback(G_INET_ADDRESS(item->data));
    g_resolver_free_addresses(addresses);
    return loopback;
}
