// The audio facts of an MP3 file: where the first frame is, channels, sample rate, bit rate,
// VBR or not, and the duration, read from a bounded part of the file. A constant-bit-rate file
// costs its first frames (at most 32 KB of search and 64 KB of analysis) and its last 143 bytes,
// whatever its size; only a VBR stream without a usable header is walked to its end.
#ifndef TAGVERA_MP3_MPEG_SCAN_H
#define TAGVERA_MP3_MPEG_SCAN_H

#include <cstdint>
#include <optional>

#include "base/byte_source.h"
#include "mp3/mpeg/analysis.h"
#include "mp3/mpeg/frame_count.h"
#include "mp3/mpeg/header.h"
#include "mp3/mpeg/xing.h"

namespace tagvera {

inline constexpr uint32_t kMp3SyncSearchLimit = 32768;
inline constexpr uint32_t kMp3AnalysisWindow = 65536;

struct Mp3ScanOptions {
    // The caller could write the file. Then a Xing header whose TOC is unusable is checked by a
    // walk over the frames, and a correction is worked out (never applied by the scan).
    bool fileWritable = false;
};

enum class VbrHeaderKind { None, Xing, Vbri };

struct Mp3AudioInfo {
    uint32_t bitRate = 0;     // bits per second
    uint32_t channels = 0;
    uint32_t durationMs = 0;  // UINT32_MAX when the true figure does not fit
    bool durationClipped = false;
    bool isVbr = false;
    uint32_t sampleRate = 0;
    MpegLayer3WaveFormat waveFormat;
    CMpegHeader firstHeader;

    uint64_t firstFrameOffset = 0;
    // From the first frame to the end of the audio: without the ID3v1 tag, a Lyrics3 v2 block,
    // or a first frame that only carries a Xing/Info/VBRI header.
    uint64_t audioBytes = 0;
    VbrHeaderKind vbrHeader = VbrHeaderKind::None;
    XingHeader xing;  // when vbrHeader is Xing
    VbriHeader vbri;  // when vbrHeader is Vbri
    // The frames were counted by walking the whole stream.
    bool framesCounted = false;
    uint32_t frameCount = 0;  // when counted, or as a VBR header states
    // What would correct a missing or wrong Xing header, for a writable file.
    std::optional<XingRepair> xingRepair;
};

// Scans from startOffset (the end of an ID3v2 tag already known, or 0; further ID3v2 tags there
// are skipped). S_OK, or E_FAIL for a KorvaMedia file (".KMF"), no frame within 32 KB, or no
// frame in the analysis window; read failures give E_FAIL too. On failure *out is cleared.
HRESULT ScanMp3Audio(ByteSource& file, uint64_t startOffset, Mp3AudioInfo* out, const Mp3ScanOptions& options = {});

}  // namespace tagvera

#endif
