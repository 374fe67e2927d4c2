// Any bytes as a file: the frame layer reads its tags, decodes every frame, normalises them (with
// the fields they decode to) and renders them, and reads its own render back. Read again leaving
// pictures in the file, the tags are the same once the pictures are loaded.
#include <cstddef>
#include <cstdint>

#include "base/byte_source.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/tag_writer.h"

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
    id3v2::ReadOptions lazy;
    lazy.deferPicturesFrom = 64;
    id3v2::FileTags deferred = id3v2::ReadFileTags(source, lazy);
    if (deferred.prepended.size() != tags.prepended.size()) __builtin_trap();
    for (size_t t = 0; t < tags.prepended.size(); ++t) {
        auto& frames = deferred.prepended[t].frames;
        if (frames.size() != tags.prepended[t].frames.size()) __builtin_trap();
        for (size_t i = 0; i < frames.size(); ++i) {
            id3v2::LoadDeferredData(frames[i], source);
            const auto& whole = tags.prepended[t].frames[i];
            if (frames[i].id != whole.id || frames[i].payload != whole.payload) __builtin_trap();
        }
    }
    id3v2::NormalizeOptions options;
    options.trailingFields = true;
    const auto normal = id3v2::NormalizeToV23(tags, options);
    // The fields known from normalising are those the frames decode to.
    for (size_t i = 0; i < normal.frames.size(); ++i)
        if (!id3v2::SameFields(normal.fields.at(i), id3v2::DecodeFields(normal.frames[i]))) __builtin_trap();
    try {
        const auto rendered = id3v2::RenderV23Tag(normal.frames, 16);
        const auto back = id3v2::ParseTag(rendered);
        // A normalised tag reads back whole: same frame count, nothing skipped.
        if (back.frames.size() != normal.frames.size() || !back.skipped.empty()) __builtin_trap();
        // Frames kept byte for byte (unknown layouts) may still not decode.
        for (const auto& f : back.frames) (void)id3v2::TryDecodeFields(f);
    } catch (const Error&) {
    }
    return 0;
}
