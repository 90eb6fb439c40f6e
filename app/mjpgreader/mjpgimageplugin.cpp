#include "mjpgimageplugin.h"

#include "mjpgimagehandler.h"

QImageIOPlugin::Capabilities MjpgImagePlugin::capabilities(QIODevice* device, const QByteArray& format) const
{
    Q_UNUSED(device)
    return format == "mjpg" ? CanRead : Capabilities();
}

QImageIOHandler* MjpgImagePlugin::create(QIODevice* device, const QByteArray& format) const
{
    auto* handler = new MjpgImageHandler(m_pool);
    handler->setDevice(device);
    handler->setFormat(format);
    return handler;
}
