#include "kmedia/stream_summary.h"

#include <algorithm>

#include "kmedia/codec_headers.h"
#include "kmedia/mime_types.h"

namespace tagvera::kmedia {
namespace {

void AddVideo(const MediaPropertiesObject& s, StreamSummary& out) {
    out.hasVideo = true;
    out.videoBitRate = std::max(out.videoBitRate, s.avgBitRate);
    VideoStreamFacts facts{0, 0, s.avgBitRate};
    try {
        const VideoFormat v = VideoFormat::Read(s.typeSpecific);
        if (v.codec == FourCC("KV30")) out.kv30 = true;
        if (v.codec == FourCC("KV40")) {
            out.kv40 = true;
            if (v.Kv40SubVersion() >= 0x3000) out.newerKv40 = true;
        }
        facts.width = v.width;
        facts.height = v.height;
    } catch (const Error&) {
        // A format that does not read leaves the stream its bit rate only.
    }
    out.videos.push_back(facts);
}

void AddAudio(const MediaPropertiesObject& s, StreamSummary& out) {
    const bool raised = s.avgBitRate > out.audioBitRate;
    if (raised) out.audioBitRate = s.avgBitRate;
    KorvaAudioHeader h;
    try {
        h = KorvaAudioHeader::Read(s.typeSpecific);
    } catch (const Error&) {
        return;
    }
    if (h.version == 4) {
        if (h.codec == "sipr") out.sipr = true;
        if (raised) out.channels = h.channels;
    } else if (h.version == 5) {
        out.audioCodec = h.codec;
        if (h.codec == "kaac") out.kaac = true;
        if (h.codec == "atrc") out.atrc = true;
        if (h.codec == "tolk" && (h.flavor >= 17 || h.flavor == 13)) out.highFlavor = true;
        if (raised) out.channels = h.channels;
        if (h.channelMask & 1) out.surround = true;
    }
}

}  // namespace

StreamSummary SummarizeStreams(const KmHeaders& headers) {
    StreamSummary out;
    for (const auto& s : headers.streams) {
        if (!s.header.KnownVersion()) continue;
        switch (ClassifyMimeType(s.mimeType)) {
            case StreamKind::Video: AddVideo(s, out); break;
            case StreamKind::Audio: AddAudio(s, out); break;
            case StreamKind::Lossless:
                out.lossless = true;
                out.channels = 2;
                // The figure the jukebox has always shown for these files.
                out.audioBitRate = 705100;
                break;
            default: break;
        }
    }
    return out;
}

std::string StreamSummary::Extension(std::string_view fileExtension) const {
    if (kv40 && newerKv40) return ".kv1";
    if (kv40) return ".kv9";
    if (kv30) return ".kv8";
    if (hasVideo) return ".kmv";
    if (atrc) return ".ka8";
    if (kaac) return ".ka1";
    if (highFlavor) {
        for (std::string_view e : {".ka", ".kv", ".kax", ".kvx"})
            if (EqualsNoCase(fileExtension, e)) return ".k18";
        return ".k8a";
    }
    if (lossless) return ".kll";
    if (sipr) return ".k1o";
    return std::string(fileExtension);
}

std::string StreamSummary::MimeType() const {
    return hasVideo ? "video/vnd.kn-korvavideo" : "audio/vnd.kn-korvaaudio";
}

}  // namespace tagvera::kmedia
