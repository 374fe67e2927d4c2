// Any bytes as a file, through the frame layer into the id3lib adapter: whatever the checked
// layer lets through must neither crash the library nor come back changed.
#include <cstddef>
#include <cstdint>

#include "base/byte_source.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"

using namespace tagvera;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MemorySource source(std::span<const uint8_t>(data, size));
    try {
        const auto tags = id3v2::ReadFileTags(source);
        id3v2::NormalizeOptions options;
        options.trailingFields = true;
        const auto normal = id3v2::NormalizeToV23(tags, options);
        id3v2::Id3libTag lib;
        lib.Load(normal.frames);
        const auto frames = lib.Frames();
        if (frames.size() != normal.frames.size()) __builtin_trap();
        (void)lib.Render(64);
    } catch (const Error&) {
    }
    return 0;
}
