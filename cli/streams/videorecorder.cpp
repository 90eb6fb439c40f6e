#include "videorecorder.h"

#include <badinput.h>
#include <ctlerror.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <cstring>

using Tarvello::BadInput;
using Tarvello::CtlError;

namespace {

// Microseconds: the layer's time stamps lose nothing on the way in.
const AVRational kMicroseconds{1, 1000000};

AVPixelFormat sourceFormat(const QString& fourcc)
{
    if (fourcc == "RGB3")
        return AV_PIX_FMT_RGB24;
    if (fourcc == "BGR3")
        return AV_PIX_FMT_BGR24;
    if (fourcc == "YUYV")
        return AV_PIX_FMT_YUYV422;
    if (fourcc == "GRBG")
        return AV_PIX_FMT_GRAY8;
    return AV_PIX_FMT_NONE;
}

// FFV1 pixel formats that hold the source's samples unchanged.
AVPixelFormat storedFormat(const QString& fourcc)
{
    if (fourcc == "RGB3" || fourcc == "BGR3")
        return AV_PIX_FMT_BGR0;
    if (fourcc == "YUYV")
        return AV_PIX_FMT_YUV422P;
    if (fourcc == "GRBG")
        return AV_PIX_FMT_GRAY8;
    return AV_PIX_FMT_NONE;
}

QString errorText(int status)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(status, text, sizeof text);
    return QString::fromLocal8Bit(text);
}

} // namespace

bool VideoRecorder::canRecord(const QString& fourcc)
{
    return fourcc == "MJPG" || sourceFormat(fourcc) != AV_PIX_FMT_NONE;
}

VideoRecorder::VideoRecorder(const QString& path, const StreamFormat& format) : m_path(path), m_format(format)
{
    try {
        open();
    } catch (...) {
        release();
        throw;
    }
}

void VideoRecorder::open()
{
    const StreamFormat& format = m_format;
    const QString& path = m_path;
    // Every failure is reported with its reason by this class; the
    // libraries' own log would only repeat it.
    av_log_set_level(AV_LOG_FATAL);
    if (!canRecord(format.fourcc))
        throw BadInput(QString("%1 frames cannot be recorded; MJPG, RGB3, BGR3, YUYV and GRBG can.").arg(format.fourcc));
    const QByteArray file = path.toLocal8Bit();
    if (avformat_alloc_output_context2(&m_container, nullptr, nullptr, file.constData()) < 0 || !m_container)
        throw BadInput(QString("No container is known for '%1'; name it .mkv (Matroska).").arg(path));
    m_stream = avformat_new_stream(m_container, nullptr);
    m_packet = av_packet_alloc();
    if (!m_stream || !m_packet)
        throw CtlError("Out of memory setting up the recording.", CtlError::kFailed);
    m_stream->time_base = kMicroseconds;
    m_stream->avg_frame_rate = AVRational{format.denominator, format.numerator};

    if (format.fourcc == "MJPG") {
        AVCodecParameters* parameters = m_stream->codecpar;
        parameters->codec_type = AVMEDIA_TYPE_VIDEO;
        parameters->codec_id = AV_CODEC_ID_MJPEG;
        parameters->width = format.width;
        parameters->height = format.height;
    } else {
        openEncoder();
    }
    if (avformat_query_codec(m_container->oformat, m_stream->codecpar->codec_id, FF_COMPLIANCE_NORMAL) == 0)
        throw BadInput(QString("The container of '%1' cannot hold %2 video; use .mkv.")
                           .arg(path, avcodec_get_name(m_stream->codecpar->codec_id)));
    if (!(m_container->oformat->flags & AVFMT_NOFILE))
        check(avio_open(&m_container->pb, file.constData(), AVIO_FLAG_WRITE), "Opening the file");
    check(avformat_write_header(m_container, nullptr), "Writing the file header");
    m_headerWritten = true;
}

void VideoRecorder::openEncoder()
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_FFV1);
    if (!codec)
        throw CtlError("This FFmpeg has no FFV1 encoder.", CtlError::kFailed);
    m_encoder = avcodec_alloc_context3(codec);
    m_frame = av_frame_alloc();
    if (!m_encoder || !m_frame)
        throw CtlError("Out of memory setting up the encoder.", CtlError::kFailed);
    m_encoder->width = m_format.width;
    m_encoder->height = m_format.height;
    m_encoder->pix_fmt = storedFormat(m_format.fourcc);
    m_encoder->time_base = kMicroseconds;
    m_encoder->framerate = AVRational{m_format.denominator, m_format.numerator};
    // Version 3 with slices keeps each frame self-contained and checksummed.
    m_encoder->level = 3;
    if (m_container->oformat->flags & AVFMT_GLOBALHEADER)
        m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(m_encoder, codec, nullptr), "Opening the FFV1 encoder");
    check(avcodec_parameters_from_context(m_stream->codecpar, m_encoder), "Describing the stream");

    m_frame->format = m_encoder->pix_fmt;
    m_frame->width = m_format.width;
    m_frame->height = m_format.height;
    check(av_frame_get_buffer(m_frame, 0), "Allocating a frame");
    m_repack = sws_getContext(m_format.width, m_format.height, sourceFormat(m_format.fourcc), m_format.width,
                              m_format.height, m_encoder->pix_fmt, SWS_POINT, nullptr, nullptr, nullptr);
    if (!m_repack)
        throw CtlError("Cannot set up the pixel repacking.", CtlError::kFailed);
}

VideoRecorder::~VideoRecorder()
{
    try {
        finish();
    } catch (const std::exception&) {
        // A destructor has nobody to tell; the file is as complete as it got.
    }
    release();
}

void VideoRecorder::release()
{
    sws_freeContext(m_repack);
    av_frame_free(&m_frame);
    av_packet_free(&m_packet);
    avcodec_free_context(&m_encoder);
    if (m_container && !(m_container->oformat->flags & AVFMT_NOFILE))
        avio_closep(&m_container->pb);
    avformat_free_context(m_container);
    m_repack = nullptr;
    m_container = nullptr;
}

bool VideoRecorder::write(const unsigned char* data, int size, qint64 timestampMicroseconds)
{
    if (!data || size <= 0 || (m_encoder && qint64(size) < qint64(m_format.bytesPerLine) * m_format.height))
        return false;
    if (!m_encoder) {
        Tarvello::JpegDecoder::Header header;
        if (!m_jpeg.readAllowedHeader(data, size_t(size), &header) || header.width != m_format.width
            || header.height != m_format.height)
            return false;
    }
    if (m_firstTimestamp < 0)
        m_firstTimestamp = timestampMicroseconds;
    // Time stamps must grow; two frames with the same stamp are kept one
    // microsecond apart rather than refused by the muxer.
    qint64 pts = timestampMicroseconds - m_firstTimestamp;
    if (pts <= m_lastPts)
        pts = m_lastPts + 1;
    m_lastPts = pts;

    if (!m_encoder) {
        check(av_new_packet(m_packet, size), "Allocating a packet");
        std::memcpy(m_packet->data, data, size_t(size));
        m_packet->pts = m_packet->dts = pts;
        m_packet->duration = av_rescale_q(m_format.numerator, AVRational{1, m_format.denominator}, kMicroseconds);
        m_packet->flags |= AV_PKT_FLAG_KEY;
        m_packet->stream_index = m_stream->index;
        av_packet_rescale_ts(m_packet, kMicroseconds, m_stream->time_base);
        check(av_interleaved_write_frame(m_container, m_packet), "Writing a frame");
        return true;
    }
    const uint8_t* planes[4] = {data, nullptr, nullptr, nullptr};
    const int strides[4] = {m_format.bytesPerLine, 0, 0, 0};
    check(av_frame_make_writable(m_frame), "Preparing a frame");
    sws_scale(m_repack, planes, strides, 0, m_format.height, m_frame->data, m_frame->linesize);
    m_frame->pts = pts;
    check(avcodec_send_frame(m_encoder, m_frame), "Encoding a frame");
    writePackets();
    return true;
}

void VideoRecorder::writePackets()
{
    for (;;) {
        const int status = avcodec_receive_packet(m_encoder, m_packet);
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
            return;
        check(status, "Encoding a frame");
        m_packet->stream_index = m_stream->index;
        av_packet_rescale_ts(m_packet, m_encoder->time_base, m_stream->time_base);
        check(av_interleaved_write_frame(m_container, m_packet), "Writing a frame");
    }
}

void VideoRecorder::finish()
{
    if (m_finished || !m_headerWritten)
        return;
    m_finished = true;
    if (m_encoder) {
        check(avcodec_send_frame(m_encoder, nullptr), "Flushing the encoder");
        writePackets();
    }
    check(av_write_trailer(m_container), "Finishing the file");
}

QString VideoRecorder::codecName() const
{
    return QString::fromUtf8(avcodec_get_name(m_stream->codecpar->codec_id));
}

void VideoRecorder::check(int status, const char* what) const
{
    if (status < 0)
        throw CtlError(QString("%1 (%2) failed: %3.").arg(what, m_path, errorText(status)), CtlError::kFailed);
}
