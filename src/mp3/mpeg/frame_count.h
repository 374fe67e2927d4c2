// Walking an MPEG audio stream frame by frame to count it, and working out the Xing frame that
// would correct a missing or wrong VBR header. Nothing here writes: the writer decides whether
// to apply a repair, and does it through the platform's safe-write helper.
#ifndef TAGVERA_MP3_MPEG_FRAME_COUNT_H
#define TAGVERA_MP3_MPEG_FRAME_COUNT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "base/byte_source.h"
#include "mp3/mpeg/header.h"
#include "mp3/mpeg/xing.h"

namespace tagvera {

// What a walk over the frames found. Offsets are relative to the first frame.
struct MpegFrameWalk {
    uint32_t frames = 0;
    // From the first frame's start to the last frame's end.
    uint64_t totalBytes = 0;
    // The walk reached the end of the audio (false when it stopped on a read failure).
    bool complete = false;
    // End offsets of the leading frames, as far as 5,000 bytes (and one frame more).
    std::vector<uint64_t> leadingEnds;
    // Start offset of every sampleStride-th frame; the stride doubles when the table fills, so a
    // stream of any length needs at most kMaxSamples entries.
    std::vector<uint64_t> sampledStarts;
    uint32_t sampleStride = 1;

    static constexpr size_t kMaxSamples = 8192;
    // Start offset of frame index, interpolated between samples when the stride is above 1.
    uint64_t FrameStart(uint32_t index) const;
};

// Walks the frames of [firstFrameOffset, audioEnd) with an 8 KB ring. Read failures throw Error.
MpegFrameWalk CountMpegFrames(ByteSource& file, uint64_t firstFrameOffset, uint64_t audioEnd);

// New bytes for part of the file, same size as what they replace.
struct XingRepair {
    uint64_t offset = 0;
    std::vector<uint8_t> bytes;
    // The frame count the header states afterwards: audio frames after the Xing frame.
    uint32_t frames = 0;
    bool patchOnly = false;  // only the frame-count field changes
};

// The leading frames a Xing frame may take over end no later than this.
inline constexpr uint64_t kXingRepairMaxLeadingBytes = 5000;

// Works out the repair for a walked stream whose first frame is `first`. existing is the Xing
// header of the first frame, or null when it has none. With patchOnly and a valid existing TOC
// only the frame count is rewritten; otherwise a new Xing frame (frames, bytes, TOC) is built over
// the leading frames. Empty when nothing needs changing (the header already states the counted
// frames), when the walk was incomplete, for Layer I/II or MPEG-2.5, or when no frame fits.
std::optional<XingRepair> PlanXingRepair(const MpegFrameWalk& walk, uint64_t firstFrameOffset,
                                         const CMpegHeader& first, const XingHeader* existing, bool patchOnly);

}  // namespace tagvera

#endif
