#pragma once

#include "streamformat.h"

#include <jpegdecoder.h>

#include <QString>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;
struct SwsContext;

// A video file written through FFmpeg's libraries. MJPG frames go into the
// container as the camera sent them; raw formats are encoded losslessly with
// FFV1 after a same-size repacking (RGB3 and BGR3 to BGR0, YUYV to planar
// 4:2:2, the GRBG mosaic as grey). The container comes from the file name
// (.mkv for Matroska, which takes both). Time stamps are the frames' own,
// counted from the first frame.
class VideoRecorder
{
public:
    // Throws BadInput for a format or container it cannot store, CtlError
    // when the file cannot be written.
    VideoRecorder(const QString& path, const StreamFormat& format);
    // Finishes the file if finish() was not called, so that a recording cut
    // short is still a valid file.
    ~VideoRecorder();
    VideoRecorder(const VideoRecorder&) = delete;
    VideoRecorder& operator=(const VideoRecorder&) = delete;

    static bool canRecord(const QString& fourcc);
    // False when the frame was left out: a raw frame shorter than its
    // format needs (cut short on the bus) has no picture to store, and a
    // compressed one whose header is not a picture of the stream's size
    // would leave the file unplayable there.
    bool write(const unsigned char* data, int size, qint64 timestampMicroseconds);
    void finish();
    QString codecName() const;

private:
    void open();
    void openEncoder();
    void release();
    void writePackets();
    void check(int status, const char* what) const;

    QString m_path;
    StreamFormat m_format;
    Tarvello::JpegDecoder m_jpeg;
    AVFormatContext* m_container = nullptr;
    AVStream* m_stream = nullptr;
    AVCodecContext* m_encoder = nullptr;
    SwsContext* m_repack = nullptr;
    AVFrame* m_frame = nullptr;
    AVPacket* m_packet = nullptr;
    bool m_headerWritten = false;
    bool m_finished = false;
    qint64 m_firstTimestamp = -1;
    qint64 m_lastPts = -1;
};
