// How the editor's changes reach the file. The item list is rebuilt (unknown items kept byte for
// byte where they stood, removed and changed items taken out, changed ones appended), and the
// movie box keeps its size where it can: a "free" box beside the item list, or one right after
// the movie box, absorbs the difference, and a shrink leaves a "free" box behind. Only when none
// of that fits does the movie box change size, with 1024 bytes of room for the next edit; the
// media after it then moves, and every chunk offset of every track ("stco" and "co64") with it.
#ifndef TAGVERA_MP4_MOVIE_WRITE_H
#define TAGVERA_MP4_MOVIE_WRITE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mp4/mp4_editor.h"

namespace tagvera::mp4 {

struct MovieWrite {
    enum class Kind { Nothing, InPlace, Rewrite } kind = Kind::Nothing;
    uint64_t offset = 0;       // where bytes go: the old movie box's offset
    uint64_t oldSize = 0;      // the bytes they replace (InPlace: the same count unless newLength)
    std::vector<uint8_t> bytes;
    std::optional<uint64_t> newLength;  // InPlace at the end of the file: its new length
    std::string how;           // one line for the write report
};

// Throws Error with the reason for a file it will not write (fragmented, no movie, a layout it
// cannot edit safely, offsets that would not fit).
MovieWrite PlanSave(const CMp4Editor& editor);

}  // namespace tagvera::mp4

#endif
