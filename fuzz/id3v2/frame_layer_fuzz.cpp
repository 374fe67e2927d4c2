// Any bytes as a file: the frame layer reads its tags, decodes every frame, normalises and
// renders them, and reads its own render back.
#include <cstddef>
#include <cstdint>

#include "base/byte_source.h"
#include "mp3/id3v2/fields.h"
#include "mp3/id3v2/json_report.h"
#include "mp3/id3v2/normalize.h"
#include "mp3/id3v2/tag_reader.h"
#include "mp3/id3v2/tag_writer.h"

using namespace tagvera;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MemorySource source(std::span<const uint8_t>(data, size));
    id3v2::FileTags tags;
    try {
        tags = id3v2::ReadFileTags(source);
    } catch (const Error&) {
        return 0;
    }
    (void)id3v2::FramesJson(tags);
    id3v2::NormalizeOptions options;
    options.trailingFields = true;
    const auto normal = id3v2::NormalizeToV23(tags, options);
    try {
        const auto rendered = id3v2::RenderV23Tag(normal.frames, 16);
        const auto back = id3v2::ParseTag(rendered);
        // A normalised tag reads back whole: same frame count, nothing skipped.
        if (back.frames.size() != normal.frames.size() || !back.skipped.empty()) __builtin_trap();
        for (const auto& f : back.frames) {
            try {
                (void)id3v2::DecodeFields(f);
            } catch (const Error&) {
                // Frames kept byte for byte (unknown layouts) may still not decode.
            }
        }
    } catch (const Error&) {
    }
    return 0;
}
