// tagvera frames FILE [--json]: the ID3 frames of a file as they stand in it, in the shared
// fixtures' JSON form with --json, so that anyone can hold our reading against another reader's.
//
// Unlike every other command this one links the ID3v2 frame layer directly instead of going
// through the library's entry points: it is a pure file-format reader with no package state, and
// the point is to show the frames below any property mapping.
#include <string>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/sha1.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/trailing_tags.h"
#include "platform/file.h"

namespace tagvera::cli {
namespace {

using id3v2::FrameKind;

std::string Quote(const std::string& s) { return id3v2::JsonQuote(s); }

std::string Join(const std::vector<std::string>& values) {
    std::string out;
    for (const auto& v : values) out += (out.empty() ? "" : " / ") + Quote(v);
    return out;
}

// One line per frame: the id and what its fields say.
std::string Summary(const id3v2::Frame& frame) {
    id3v2::Fields f;
    try {
        f = id3v2::DecodeFields(frame);
    } catch (const Error& e) {
        return std::string("unreadable: ") + e.what();
    }
    auto data = [&] { return std::to_string(f.data.size()) + " bytes, sha1 " + id3v2::Sha1Hex(f.data); };
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
            return f.mime + ", " + Quote(f.filename) + ", [" + f.desc + "], " + data();
        case FrameKind::Private:
            return "owner " + Quote(f.owner) + ", " + data();
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

void PrintFrames(CommandContext& ctx, const std::vector<id3v2::Frame>& frames) {
    for (const auto& f : frames) ctx.out << "  " << f.id << "  " << Summary(f) << "\n";
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    RequirePositional(parsed, 1, 1);
    const std::string& path = parsed.positional[0];
    id3v2::FileTags tags;
    try {
        platform::File file(path, platform::OpenMode::Read);
        tags = id3v2::ReadFileTags(file);
    } catch (const Error& e) {
        throw DataError(path, e.what());
    }
    if (parsed.has("--json")) {
        ctx.out << id3v2::FramesJson(tags);
        return kExitOk;
    }
    if (tags.prepended.empty() && !tags.appended && !tags.id3v1) {
        ctx.out << path << ": no ID3 tags\n";
    }
    for (const auto& tag : tags.prepended) {
        ctx.out << "ID3v" << tag.versionText() << " at " << tag.offset << ", " << tag.totalSize << " bytes ("
                << tag.paddingSize << " padding), " << tag.frames.size() << " frames\n";
        PrintFrames(ctx, tag.frames);
    }
    if (tags.appended) {
        ctx.out << "ID3v" << tags.appended->versionText() << " appended at " << tags.appended->offset << "\n";
        PrintFrames(ctx, tags.appended->frames);
    }
    if (tags.lyrics3 || tags.id3v1) {
        ctx.out << (tags.lyrics3 ? "Lyrics3 v" + std::to_string(tags.lyrics3->version) + (tags.id3v1 ? " and " : "") : "")
                << (tags.id3v1 ? "ID3v" + id3v2::Id3v1VersionText(tags) : "") << " at the end\n";
        PrintFrames(ctx, id3v2::FramesFromTrailingTags(tags));
    }
    std::vector<std::string> warnings = tags.skipped;
    for (const auto& tag : tags.prepended) warnings.insert(warnings.end(), tag.skipped.begin(), tag.skipped.end());
    for (const auto& w : warnings) ctx.out << "warning: " << w << "\n";
    return kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"frames", "list the ID3 frames of a file as they stand in it",
                                     "frames [--json] FILE\n"
                                     "  Reads the ID3v2 tags (and ID3v1 and Lyrics3 at the end) without the property\n"
                                     "  mapping; --json prints them in the ID3 fixtures' form (version, frames).",
                                     Run});

}  // namespace tagvera::cli
