#pragma once

// Owning handles for the decoder libraries' objects, so that every early
// return frees what was made before it.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <QString>
#include <memory>

namespace ffmpeg {

struct InputDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct OutputDeleter {
    void operator()(AVFormatContext* context) const {
        if (context && context->pb && !(context->oformat->flags & AVFMT_NOFILE)) {
            avio_closep(&context->pb);
        }
        avformat_free_context(context);
    }
};
struct CodecDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct ResamplerDeleter {
    void operator()(SwrContext* context) const { swr_free(&context); }
};

using Input = std::unique_ptr<AVFormatContext, InputDeleter>;
using Output = std::unique_ptr<AVFormatContext, OutputDeleter>;
using Codec = std::unique_ptr<AVCodecContext, CodecDeleter>;
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
using Resampler = std::unique_ptr<SwrContext, ResamplerDeleter>;

// The library's words for an error code.
inline QString errorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}

}  // namespace ffmpeg
