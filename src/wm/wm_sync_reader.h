// The stand-in for the runtime's synchronous reader, as far as the importer asks it: the media
// type and format block of each stream, taken from the header's stream properties.
#ifndef TAGVERA_WM_WM_SYNC_READER_H
#define TAGVERA_WM_WM_SYNC_READER_H

#include <cstdint>
#include <vector>

#include "tagvera/abi.h"
#include "wm/asf_model.h"

namespace tagvera::wm {

struct WaveFormat {
    uint16_t formatTag = 0, channels = 0;
    uint32_t samplesPerSecond = 0, avgBytesPerSecond = 0;
};

struct VideoInfo {
    uint32_t bitRate = 0;
    uint64_t avgTimePerFrame = 0;  // 100 ns
    int32_t width = 0, height = 0;
    uint32_t compression = 0;  // four characters, the first in the low byte
};

struct StreamFormat {
    char majorType[5] = {};  // "auds" or "vids"; empty for any other stream
    bool fixedSizeSamples = false;
    WaveFormat wave;
    VideoInfo video;
};

class WMSyncReader {
public:
    // The header must stay alive while the reader is used. E_FAIL without streams.
    HRESULT Open(const AsfHeader& header);
    uint32_t StreamCount() const { return uint32_t(streams_.size()); }
    HRESULT GetStreamFormat(uint32_t index, StreamFormat* out) const;
    // nChannels of the first audio stream; E_FAIL when there is none.
    HRESULT FirstAudioChannels(uint32_t* out) const;

private:
    std::vector<StreamFormat> streams_;
};

}  // namespace tagvera::wm

#endif
