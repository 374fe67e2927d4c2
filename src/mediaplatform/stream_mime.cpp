#include "mediaplatform/stream_mime.h"

extern "C" {
#include <libavcodec/codec_desc.h>
}

namespace tagvera::mediaplatform {
namespace {

struct CodecMime {
    AVCodecID codec;
    const char* mime;
};

// The registered names where there is one; other codecs get "x-" and libavcodec's name.
constexpr CodecMime kCodecMimes[] = {
    {AV_CODEC_ID_MPEG1VIDEO, "video/mpeg"}, {AV_CODEC_ID_MPEG2VIDEO, "video/mpeg"},
    {AV_CODEC_ID_MPEG4, "video/mp4v-es"},   {AV_CODEC_ID_H264, "video/h264"},
    {AV_CODEC_ID_HEVC, "video/h265"},       {AV_CODEC_ID_H263, "video/h263"},
    {AV_CODEC_ID_MJPEG, "video/x-motion-jpeg"},
    {AV_CODEC_ID_MP1, "audio/mpeg"},        {AV_CODEC_ID_MP2, "audio/mpeg"},
    {AV_CODEC_ID_MP3, "audio/mpeg"},        {AV_CODEC_ID_AAC, "audio/aac"},
    {AV_CODEC_ID_AC3, "audio/ac3"},         {AV_CODEC_ID_AMR_NB, "audio/amr"},
    {AV_CODEC_ID_AMR_WB, "audio/amr-wb"},   {AV_CODEC_ID_QCELP, "audio/qcelp"},
    {AV_CODEC_ID_EVRC, "audio/evrc-qcp"},   {AV_CODEC_ID_PCM_S16LE, "audio/x-wav"},
    {AV_CODEC_ID_PCM_U8, "audio/x-wav"},    {AV_CODEC_ID_PCM_S24LE, "audio/x-wav"},
    {AV_CODEC_ID_PCM_S16BE, "audio/L16"},   {AV_CODEC_ID_ADPCM_SWF, "audio/x-adpcm"},
    {AV_CODEC_ID_FLV1, "video/x-flv"},
};

}  // namespace

std::string StreamMimeType(const AVCodecParameters& codec) {
    for (const CodecMime& row : kCodecMimes)
        if (row.codec == codec.codec_id) return row.mime;
    const char* kind = codec.codec_type == AVMEDIA_TYPE_VIDEO   ? "video/x-"
                       : codec.codec_type == AVMEDIA_TYPE_AUDIO ? "audio/x-"
                                                                : "application/x-";
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec.codec_id);
    return std::string(kind) + (descriptor ? descriptor->name : "unknown");
}

}  // namespace tagvera::mediaplatform
