// Writing the Xing header correction that the audio scan worked out (mpeg_frame_count.h), the one
// change reading an MP3 file may make. Through the safe-write helper, in place: the new bytes
// replace the same number of bytes of the leading frames, so nothing else in the file moves.
#ifndef TAGVERA_MP3_MPEG_XING_REPAIR_H
#define TAGVERA_MP3_MPEG_XING_REPAIR_H

#include <cstdint>
#include <string>

#include "mp3/mpeg/frame_count.h"

namespace tagvera {

enum class XingRepairResult {
    Written,
    NotWritable,  // read-only file or no permission: left as it is
    Changed,      // the file is no longer the one scanned (another size, another first frame)
    Failed,       // a write failed; the file was restored
};

// Applies repair to the file at path, which the scan saw with expectedSize bytes. Never throws.
XingRepairResult ApplyXingRepair(const std::string& path, const XingRepair& repair, uint64_t expectedSize);

// "frame count corrected" or "header written".
const char* XingRepairText(const XingRepair& repair);

}  // namespace tagvera

#endif
