// tagvera rename: give media files names made of their properties, never replacing a file.
#include <filesystem>
#include <ostream>
#include <string>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/path_text.h"
#include "cli/property_names.h"
#include "cli/property_view.h"
#include "cli/tag_edit.h"
#include "cli/tool_services.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

// A pattern's pieces: literal text, and the GROUP:NAME each "{...}" stands for.
struct Pattern {
    std::vector<std::pair<bool, std::string>> pieces;  // (is a property, text or path)
};

Pattern ParsePattern(const std::string& text, const PropertyNames& names) {
    Pattern p;
    size_t at = 0;
    while (at < text.size()) {
        const size_t open = text.find('{', at);
        if (open == std::string::npos) {
            p.pieces.emplace_back(false, text.substr(at));
            break;
        }
        const size_t close = text.find('}', open);
        if (close == std::string::npos) throw UsageError("\"" + text + "\" opens a { it does not close");
        if (open > at) p.pieces.emplace_back(false, text.substr(at, open - at));
        p.pieces.emplace_back(true, names.Resolve(text.substr(open + 1, close - open - 1), false));
        at = close + 1;
    }
    if (p.pieces.empty()) throw UsageError("the pattern is empty");
    return p;
}

// A value as it may stand in a file name: no folder separators or control characters.
std::string NamePart(std::string text) {
    for (char& c : text)
        if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20) c = '_';
    return text;
}

std::string NewName(const Pattern& pattern, IMPAMetaProperty* tree, const std::string& file) {
    std::string name;
    for (const auto& [property, text] : pattern.pieces) {
        if (!property) {
            name += text;
            continue;
        }
        auto node = ChildAt(tree, text);
        if (!node || IsReference(node.get())) throw DataError(file, "has no " + text + " to name it by");
        const auto number = TypeOf(node.get()) == kTypeNumber ? NumberOf(node.get()) : std::nullopt;
        const std::string value = number ? std::to_string(*number) : OneLine(TextOf(node.get()));
        if (value.empty()) throw DataError(file, "has an empty " + text + " to name it by");
        name += NamePart(value);
    }
    // Leading or trailing spaces and dots make names other programs stumble over.
    const size_t first = name.find_first_not_of(" ."), last = name.find_last_not_of(" .");
    if (first == std::string::npos) throw DataError(file, "the pattern gives it an empty name");
    return name.substr(first, last - first + 1);
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, kEditFlags);
    const EditRun run = ParseEditFlags(parsed);
    if (parsed.positional.size() < 2) throw UsageError("name a pattern and at least one file");
    const PropertyNames names(ctx.host());
    const Pattern pattern = ParsePattern(parsed.positional[0], names);
    const std::vector<std::string> files(parsed.positional.begin() + 1, parsed.positional.end());
    return ForEachFile(ctx, run, files, [&](CommandContext& fileCtx, const std::string& file) {
        const MediaFile media = ReadMediaFile(fileCtx.host(), file);
        const std::filesystem::path from = Utf8Path(file);
        const std::filesystem::path to =
            from.parent_path() / Utf8Path(NewName(pattern, media.tree.get(), file) + PathUtf8(from.extension()));
        const std::string toText = PathUtf8(to);
        if (to == from) return Unchanged(fileCtx, run, file, "named so already");
        std::error_code ec;
        if (std::filesystem::exists(to, ec)) throw DataError(file, "not renamed: \"" + toText + "\" exists already");
        if (!run.dryRun) {
            ComPtr<IKMABuffer> reason;
            if (const HRESULT hr = ToolServices(fileCtx)->RenameFile(file.c_str(), toText.c_str(), reason.put()); Failed(hr))
                throw DataError(file, "not renamed: " + FailureText(hr, reason.get()));
        }
        if (!run.quiet || run.dryRun) fileCtx.out << file << " -> " << toText << '\n';
        return run.dryRun ? EditOutcome::Previewed : EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"rename", "rename media files after their properties",
                          "rename [--dry-run] [--progress] [-r] [-q] PATTERN FILE...\n"
                          "  Names each file by PATTERN, where {GROUP:NAME} or a short name ({artist}, {title},\n"
                          "  {track}) stands for the file's value (\"{artist} - {title}\"); the folder and the\n"
                          "  extension stay. A file of the new name is never replaced: that file fails instead.\n"
                          "  --dry-run shows the new names without renaming.",
                          Run});

}  // namespace tagvera::cli
