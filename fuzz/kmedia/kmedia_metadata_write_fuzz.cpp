// A metadata write of any input, applied in memory as the in-place edit would apply it: either
// planning refuses the input with a typed error (the file is then never touched), or the result
// keeps every byte of the media (the file-info copy aside), ends in exactly one trailer holding
// the new block and one ID3v1 tag, and a second write of it ends the same way at the same size.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kmedia/metadata_write.h"
#include "kmedia/trailer.h"

namespace {

using namespace tagvera;
using namespace tagvera::kmedia;

const uint8_t kBlock[] = {'K', 'J', 'M', 'D', 0, 0, 0, 1, 0, 0, 0, 40, 1, 2, 3, 4, 5, 6, 7, 8,
                          9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28};

void Title(Id3v1Tag& tag) { std::memcpy(&tag.bytes[Id3v1Tag::kTitle], "fuzz", 4); }

std::vector<uint8_t> Apply(std::vector<uint8_t> file, const KmMetadataEdit& edit) {
    for (const auto& piece : edit.pieces) {
        if (piece.offset > file.size()) std::abort();  // a patch may not start past the end
        if (file.size() < piece.offset + piece.bytes.size()) file.resize(piece.offset + piece.bytes.size());
        std::copy(piece.bytes.begin(), piece.bytes.end(), file.begin() + static_cast<ptrdiff_t>(piece.offset));
    }
    file.resize(edit.length);
    return file;
}

void CheckWritten(const std::vector<uint8_t>& before, const std::vector<uint8_t>& after, const KmMetadataEdit& edit) {
    const uint64_t kept = std::min<uint64_t>(edit.mediaEnd, before.size());
    if (after.size() < kept) std::abort();
    for (uint64_t i = 0; i < kept; ++i) {
        const bool inCopy = edit.copyRefreshed && i >= edit.pieces.front().offset &&
                            i < edit.pieces.front().offset + edit.pieces.front().bytes.size();
        if (!inCopy && before[i] != after[i]) std::abort();
    }
    MemorySource out(after);
    const auto trailer = FindTrailer(out);
    if (!trailer || !trailer->hasHeader || trailer->blockSize != sizeof kBlock) std::abort();
    if (std::memcmp(&after[trailer->blockOffset], kBlock, sizeof kBlock) != 0) std::abort();
    if (trailer->blockOffset - kTrailerHeaderSize != after.size() - edit.trailerBytes) std::abort();
    if (MetadataAreaStart(out, edit.mediaEnd) != after.size() - edit.trailerBytes) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> input(data, data + size);
    MemorySource source(input);
    KmMetadataEdit edit;
    try {
        edit = PlanKmMetadataWrite(source, kBlock, Title);
    } catch (const Error&) {
        return 0;
    }
    const std::vector<uint8_t> once = Apply(input, edit);
    CheckWritten(input, once, edit);
    MemorySource again(once);
    try {
        const KmMetadataEdit second = PlanKmMetadataWrite(again, kBlock, Title);
        if (second.length != once.size()) std::abort();  // no second trailer stacked on the first
        CheckWritten(once, Apply(once, second), second);
    } catch (const Error&) {
        std::abort();  // what was written reads as it did before
    }
    return 0;
}
