#pragma once

#include "picturepool.h"

#include <QImageIOPlugin>

// The application's reader for the format name "mjpg", linked in and
// registered statically (Q_IMPORT_PLUGIN), which the frame pump asks for
// by name. It claims no data by content, so Qt's own "jpeg" reader keeps
// every other use of JPEG.
class MjpgImagePlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "mjpgimageplugin.json")

public:
    Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
    QImageIOHandler* create(QIODevice* device, const QByteArray& format = QByteArray()) const override;

private:
    // Two: the picture on show while the next one is decoded, and one more
    // for a receiver of the window's pictures that lets go a tick late.
    mutable PicturePool m_pool{2};
};
