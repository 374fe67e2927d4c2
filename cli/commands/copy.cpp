// tagvera copy: the properties of one media file into others, of the same kind or another.
#include <ostream>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/property_view.h"
#include "cli/tag_edit.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

// What a file says of itself rather than what its tags hold, and the container of another tag.
bool Copied(const std::string& group) { return group != "Statistics" && group != "KorvaJukebox"; }

struct SourceProperty {
    std::string path;
    ComPtr<IMPAMetaProperty> node;
};

std::vector<SourceProperty> PropertiesOf(IMPAMetaProperty* tree) {
    std::vector<SourceProperty> out;
    for (const auto& group : ChildrenOf(tree)) {
        const std::string groupName = NameOf(group.get());
        if (!IsGroup(group.get()) || !Copied(groupName)) continue;
        for (const auto& child : ChildrenOf(group.get())) out.push_back({groupName + ":" + NameOf(child.get()), child});
    }
    return out;
}

// The destination holds that value already (a picture: one of the same size).
bool HoldsAlready(IMPAMetaProperty* to, IMPAMetaProperty* from, const SourceProperty& p) {
    auto node = ChildAt(to, p.path);
    if (!node) return false;
    if (!IsReference(p.node.get())) return !IsReference(node.get()) && ShownValue(to, p.path) == ShownValue(from, p.path);
    const auto size = [](IMPAMetaProperty* n) {
        auto s = ChildAt(n, kPropDataSize);
        return s ? NumberOf(s.get()) : std::nullopt;
    };
    return IsReference(node.get()) && size(node.get()) == size(p.node.get());
}

int Run(CommandContext& ctx, const Args& args) {
    auto flags = kEditFlags;
    flags.insert(kWriteFlags.begin(), kWriteFlags.end());
    const ParsedArgs parsed = ParseArgs(args, flags);
    const EditRun run = ParseEditFlags(parsed);
    if (parsed.positional.size() < 2) throw UsageError("name the file to copy from and at least one to copy to");
    const std::string& from = parsed.positional[0];
    const MediaFile source = ReadMediaFile(ctx.host(), from);
    const std::vector<SourceProperty> properties = PropertiesOf(source.tree.get());
    const auto sourceData = source.handler();
    const std::vector<std::string> targets(parsed.positional.begin() + 1, parsed.positional.end());
    return ForEachFile(ctx, run, targets, [&](CommandContext& fileCtx, const std::string& file) {
        if (file == from) return Unchanged(fileCtx, run, file, "is the file copied from");
        const MediaFile media = OpenForEdit(fileCtx.host(), file);
        size_t changed = 0;
        for (const auto& p : properties) {
            if (HoldsAlready(media.tree.get(), source.tree.get(), p)) continue;
            if (run.dryRun)
                fileCtx.out << file << ": " << p.path << ": " << ShownValue(media.tree.get(), p.path) << " -> "
                        << ShownValue(source.tree.get(), p.path) << '\n';
            ComPtr<IMPAMetaProperty> copy;
            if (Failed(p.node->Clone(copy.put())) || !copy ||
                Failed(media.tree->AddChild(copy.get(), true, p.path.c_str(), 0)))
                throw DataError(file, "cannot take " + p.path);
            copy->SetChanged(kChanged);
            ++changed;
        }
        if (changed == 0) return Unchanged(fileCtx, run, file, "unchanged (it holds these values already)");
        if (run.dryRun) {
            fileCtx.out << PreviewWrite(media, run, sourceData.get());
            return EditOutcome::Previewed;
        }
        // Pictures and other on-demand data are read from the file they are copied from.
        WriteBack(fileCtx, media, run, sourceData.get());
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"copy", "copy the properties of one media file into others",
                          "copy [--dry-run] [--progress] [-r] [-q] [--allow-loss] [--no-id3v1] [--no-id3v2]\n"
                          "    [--no-jukebox] FROM FILE...\n"
                          "  Sets every property FROM holds (its statistics aside) in each FILE, of the same kind or\n"
                          "  another, pictures included, and writes them as set does; properties a FILE holds and\n"
                          "  FROM does not stay. --dry-run shows each change and what the write would do.",
                          Run});

}  // namespace tagvera::cli
