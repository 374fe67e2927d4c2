#include "tags/id3v2/frame_report.h"

#include "tags/id3v2/fields.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/sha1.h"
#include "tags/id3v2/trailing_tags.h"

namespace tagvera::id3v2 {
namespace {

std::string Join(const std::vector<std::string>& values) {
    std::string out;
    for (const auto& v : values) out += (out.empty() ? "" : " / ") + JsonQuote(v);
    return out;
}

}  // namespace

std::string FrameSummary(const Frame& frame) {
    std::string why;
    const std::optional<Fields> decoded = TryDecodeFields(frame, &why);
    if (!decoded) return "unreadable: " + why;
    const Fields& f = *decoded;
    // Data left in the file (a large picture read for its fields only) is counted, not hashed.
    auto data = [&] {
        return std::to_string(f.data.size() + frame.deferredBytes()) + " bytes" +
               (frame.deferred ? "" : ", sha1 " + Sha1Hex(f.data));
    };
    switch (f.kind) {
        case FrameKind::Text:
        case FrameKind::PeopleList:
            return Join(f.values);
        case FrameKind::UserText:
            return "[" + f.desc + "] " + Join(f.values);
        case FrameKind::Comment:
            return "[" + f.lang + "] [" + f.desc + "] " + Join(f.values);
        case FrameKind::Url:
            return f.url;
        case FrameKind::UserUrl:
            return "[" + f.desc + "] " + f.url;
        case FrameKind::Picture:
            return "type " + std::to_string(f.pictureType.value_or(0)) + ", " + f.mime + ", [" + f.desc + "], " + data();
        case FrameKind::Object:
            return f.mime + ", " + JsonQuote(f.filename) + ", [" + f.desc + "], " + data();
        case FrameKind::Private:
            return "owner " + JsonQuote(f.owner) + ", " + data();
        case FrameKind::Counter:
            return "count " + std::to_string(f.counter.value_or(0));
        case FrameKind::Popularimeter:
            return f.email + ", rating " + std::to_string(f.rating.value_or(0)) +
                   (f.counter ? ", count " + std::to_string(*f.counter) : "");
        case FrameKind::Binary:
            return (frame.encrypted ? "encrypted, " : "") + data();
    }
    return {};
}

namespace {

void AppendFrames(std::string& out, const std::vector<Frame>& frames) {
    for (const auto& f : frames) out += "  " + f.id + "  " + FrameSummary(f) + "\n";
}

}  // namespace

std::string FramesText(const FileTags& tags, std::string_view name) {
    std::string out;
    if (tags.prepended.empty() && !tags.appended && !tags.id3v1) out += std::string(name) + ": no ID3 tags\n";
    for (const auto& tag : tags.prepended) {
        out += "ID3v" + tag.versionText() + " at " + std::to_string(tag.offset) + ", " + std::to_string(tag.totalSize) +
               " bytes (" + std::to_string(tag.paddingSize) + " padding), " + std::to_string(tag.frames.size()) +
               " frames\n";
        AppendFrames(out, tag.frames);
    }
    if (tags.appended) {
        out += "ID3v" + tags.appended->versionText() + " appended at " + std::to_string(tags.appended->offset) + "\n";
        AppendFrames(out, tags.appended->frames);
    }
    if (tags.lyrics3 || tags.id3v1) {
        if (tags.lyrics3) out += "Lyrics3 v" + std::to_string(tags.lyrics3->version) + (tags.id3v1 ? " and " : "");
        if (tags.id3v1) out += "ID3v" + Id3v1VersionText(tags);
        out += " at the end\n";
        AppendFrames(out, FramesFromTrailingTags(tags));
    }
    std::vector<std::string> warnings = tags.skipped;
    for (const auto& tag : tags.prepended) warnings.insert(warnings.end(), tag.skipped.begin(), tag.skipped.end());
    for (const auto& w : warnings) out += "warning: " + w + "\n";
    return out;
}

}  // namespace tagvera::id3v2
