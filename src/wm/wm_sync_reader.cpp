#include "wm/wm_sync_reader.h"

#include <cstring>

namespace tagvera::wm {

HRESULT WMSyncReader::Open(const AsfHeader& header) {
    streams_.clear();
    for (const auto& s : header.streams) {
        StreamFormat f;
        if (s.audio) {
            std::memcpy(f.majorType, "auds", 4);
            f.fixedSizeSamples = true;
            f.wave = {s.formatTag, s.channels, s.sampleRate, s.avgBytesPerSecond};
        } else if (s.video) {
            std::memcpy(f.majorType, "vids", 4);
            f.video = {s.bitrate, s.avgTimePerFrame, int32_t(s.width), int32_t(s.height), s.compression};
        }
        streams_.push_back(f);
    }
    return streams_.empty() ? TV_E_FAIL : TV_S_OK;
}

HRESULT WMSyncReader::GetStreamFormat(uint32_t index, StreamFormat* out) const {
    if (!out) return TV_E_POINTER;
    if (index >= streams_.size()) return TV_E_INVALIDARG;
    *out = streams_[index];
    return TV_S_OK;
}

HRESULT WMSyncReader::FirstAudioChannels(uint32_t* out) const {
    if (!out) return TV_E_POINTER;
    for (const auto& s : streams_)
        if (std::strcmp(s.majorType, "auds") == 0) {
            *out = s.wave.channels;
            return TV_S_OK;
        }
    return TV_E_FAIL;
}

}  // namespace tagvera::wm
