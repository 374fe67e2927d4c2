// The trailer finder over the tail of any file: a block it reports lies inside the file, before
// the footer and the tag.
#include <cstdint>
#include <cstdlib>

#include "kmedia/trailer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    MemorySource file(std::span<const uint8_t>(data, size));
    try {
        const auto t = kmedia::FindTrailer(file);
        if (t && t->blockOffset + t->blockSize + kmedia::kTrailerTailSize != size) std::abort();
    } catch (const Error&) {
        std::abort();  // the finder only reads what it checked is there
    }
    return 0;
}
