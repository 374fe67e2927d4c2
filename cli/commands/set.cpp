// tagvera set: change properties of media files and write them into the files' tags, as a host
// does with an edited tree.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "cli/command_registry.h"
#include "cli/jobs.h"
#include "cli/path_text.h"
#include "cli/property_names.h"
#include "cli/property_view.h"
#include "cli/tag_edit.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

struct Assignment {
    std::string group, name, value;
    const char* pictureMime = nullptr;  // a picture from the file named by value
    bool number = false;                // stored as a number (a year), as the files' readers give it
    std::string path() const { return group + ":" + name; }
};

// NAME=VALUE with NAME a GROUP:NAME or an alias, checked against what the library knows.
Assignment ParseAssignment(const std::string& arg, const PropertyNames& names, bool custom) {
    const size_t eq = arg.find('=');
    if (eq == std::string::npos) throw UsageError("\"" + arg + "\" is not GROUP:NAME=VALUE");
    const std::string path = names.Resolve(arg.substr(0, eq), custom);
    const size_t colon = path.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == path.size())
        throw UsageError("\"" + arg + "\" names no property");
    Assignment a{path.substr(0, colon), path.substr(colon + 1), arg.substr(eq + 1)};
    const KnownProperty* known = names.Find(path);
    a.number = known && known->type == "year";
    return a;
}

// The picture's type by its first bytes, whatever its name says; null for anything else.
const char* PictureMime(const std::string& file) {
    char head[8] = {};
    std::ifstream in(Utf8Path(file), std::ios::binary);
    in.read(head, sizeof head);
    const auto starts = [&](std::string_view magic) {
        return static_cast<size_t>(in.gcount()) >= magic.size() && std::memcmp(head, magic.data(), magic.size()) == 0;
    };
    if (starts("\xFF\xD8\xFF")) return "image/jpeg";
    if (starts("\x89PNG\r\n\x1A\n")) return "image/png";
    if (starts("GIF87a") || starts("GIF89a")) return "image/gif";
    if (starts("BM")) return "image/bmp";
    return nullptr;
}

// True when the file shows the value the assignment asks for already.
bool HoldsAlready(IMPAMetaProperty* tree, const Assignment& a) {
    if (a.pictureMime) return false;
    const std::string shown = ShownValue(tree, a.path());
    return shown == "\"" + a.value + "\"" || shown == a.value;
}

// As a host edits: the new node replaces the old one and is marked changed.
void Apply(IMPAMetaProperty* tree, const Assignment& a, const std::string& file) {
    ComPtr<IMPAMetaProperty> group;
    if (Failed(tree->FindFirstChild(a.group.c_str(), group.put())) || !group) {
        if (Failed(tree->AddGroup(a.group.c_str(), 0, false, group.put())) || !group)
            throw DataError(file, "cannot add the group " + a.group);
    }
    ComPtr<IMPAMetaProperty> node;
    if (a.pictureMime) {
        const std::string source = PathUtf8(std::filesystem::absolute(Utf8Path(a.value)));
        HRESULT hr = group->AddProperty(a.name.c_str(), kTypeFileReference, 0, reinterpret_cast<const uint8_t*>(source.c_str()),
                                        static_cast<uint32_t>(source.size() + 1), true, node.put());
        if (Succeeded(hr) && node) hr = node->AddText("MimeType", a.pictureMime, 0, true, nullptr);
        if (Failed(hr) || !node) throw DataError(file, "cannot set " + a.path());
    } else if (a.number) {
        if (Failed(group->AddNumber(a.name.c_str(), static_cast<uint32_t>(std::stoul(a.value)), 0, true, node.put())) || !node)
            throw DataError(file, "cannot set " + a.path());
    } else if (Failed(group->AddText(a.name.c_str(), a.value.c_str(), 0, true, node.put())) || !node) {
        throw DataError(file, "cannot set " + a.path());
    }
    node->SetChanged(kChanged);
}

int Run(CommandContext& ctx, const Args& args) {
    auto flags = kEditFlags;
    flags.insert(kWriteFlags.begin(), kWriteFlags.end());
    const ParsedArgs parsed = ParseArgs(args, flags, {"--picture", "-j", "--jobs"});
    const EditRun run = ParseEditFlags(parsed, true);
    std::vector<std::string> files;
    std::vector<Assignment> changes;
    const PropertyNames names(ctx.host());
    const bool custom = parsed.has("--custom");
    for (const auto& arg : parsed.positional) {
        if (arg.find('=') == std::string::npos || !IsPropertyArgument(arg)) {
            files.push_back(arg);
            continue;
        }
        Assignment a = ParseAssignment(arg, names, custom);
        names.CheckValue(a.path(), a.value);
        changes.push_back(a);
    }
    if (auto picture = parsed.option("--picture")) {
        Assignment a = ParseAssignment(*picture, names, custom);
        std::error_code ec;
        if (!std::filesystem::is_regular_file(Utf8Path(a.value), ec)) throw UsageError("no picture file \"" + a.value + "\"");
        // The library takes no larger reference: an ID3v2 frame cannot hold more.
        if (std::filesystem::file_size(Utf8Path(a.value), ec) > (uintmax_t(256) << 20))
            throw UsageError("picture file \"" + a.value + "\" is larger than 256 MB");
        a.pictureMime = PictureMime(a.value);
        if (!a.pictureMime) throw UsageError("\"" + a.value + "\" is not a picture (a JPEG, PNG, GIF or BMP file)");
        changes.push_back(a);
    }
    if (changes.empty()) throw UsageError("name what to set: GROUP:NAME=VALUE or --picture GROUP:NAME=FILE");
    return ForEachFile(ctx, run, files, [&](CommandContext& fileCtx, const std::string& file) {
        const MediaFile media = OpenForEdit(fileCtx.host(), file);
        std::vector<const Assignment*> changing;
        for (const auto& a : changes)
            if (!HoldsAlready(media.tree.get(), a)) changing.push_back(&a);
        // Nothing to change: the file and its time stamps stay as they are.
        if (changing.empty()) return Unchanged(fileCtx, run, file, "unchanged (it holds these values already)");
        if (run.dryRun) {
            for (const Assignment* a : changing)
                fileCtx.out << file << ": " << a->path() << ": " << ShownValue(media.tree.get(), a->path()) << " -> "
                        << (a->pictureMime ? "picture from " + a->value : "\"" + a->value + "\"") << '\n';
        }
        for (const Assignment* a : changing) Apply(media.tree.get(), *a, file);
        if (run.dryRun) {
            fileCtx.out << PreviewWrite(media, run);
            return EditOutcome::Previewed;
        }
        WriteBack(fileCtx, media, run);
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"set", "change properties and write them into the files' tags",
                          "set [--dry-run] [--progress] [-r] [-j N] [-q] [--allow-loss] [--no-id3v1] [--no-id3v2] [--no-jukebox]\n"
                          "    [--custom] [--picture GROUP:NAME=FILE] FILE... GROUP:NAME=VALUE...\n"
                          "  Sets each property (\"Track:Name=Blue in Green\", \"Track:CD Track #=3\", or by its short\n"
                          "  name: \"title=Blue in Green\", \"track=3/12\"; tagvera names lists them) and writes the\n"
                          "  tags as a host does; --picture takes the bytes of a picture file (\"cover=c.jpg\"). A\n"
                          "  name tagvera does not know, or a value its property cannot take, is refused; --custom\n"
                          "  writes a GROUP:NAME of your own into the jukebox block.\n"
                          "  --dry-run shows old and new values and every change the write would make to the\n"
                          "  file's tags (frames added or removed, a version change, an ID3v1 record created),\n"
                          "  without writing; --no-id3v1, --no-id3v2 and --no-jukebox leave that kind of tag as\n"
                          "  it is for this run, whatever the preferences say; -r takes the files in folders and\n"
                          "  ends with a count; -j N works on N files at once (default: one per core), their lines\n"
                          "  printed in the files' order; -q prints failures only. A file that holds the values\n"
                          "  already is left untouched.\n"
                          "  A file whose tags hold what the write would lose (frames that cannot be read) is\n"
                          "  left as it is, unless --allow-loss.",
                          Run});

}  // namespace tagvera::cli
