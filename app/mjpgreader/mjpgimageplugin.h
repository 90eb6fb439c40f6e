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
    // One: the frame pump lets go of its picture at the end of each tick,
    // so the last picture is free again by the next frame. More would only
    // keep memory (33 MB a picture at 3840x2160) after the stream stops.
    mutable PicturePool m_pool{1};
};
