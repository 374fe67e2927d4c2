// tagvera rm: remove properties from media files' tags.
#include <ostream>
#include <string>
#include <vector>

#include "cli/command_registry.h"
#include "cli/jobs.h"
#include "cli/property_names.h"
#include "cli/property_view.h"
#include "cli/tag_edit.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    auto flags = kEditFlags;
    flags.insert(kWriteFlags.begin(), kWriteFlags.end());
    const ParsedArgs parsed = ParseArgs(args, flags, kJobsOptions);
    const EditRun run = ParseEditFlags(parsed, true);
    std::vector<std::string> files, properties;
    const PropertyNames names(ctx.host());
    for (const auto& arg : parsed.positional) {
        if (IsPropertyArgument(arg)) properties.push_back(names.Resolve(arg, parsed.has("--custom")));
        else files.push_back(arg);
    }
    if (properties.empty()) throw UsageError("name the properties to remove (Track:Comments)");
    return ForEachFile(ctx, run, files, [&](CommandContext& fileCtx, const std::string& file) {
        const MediaFile media = OpenForEdit(fileCtx.host(), file);
        bool any = false;
        for (const auto& path : properties) {
            auto node = ChildAt(media.tree.get(), path);
            if (!node) {
                if (!run.quiet) fileCtx.out << file << ": " << path << ": not there\n";
                continue;
            }
            if (run.dryRun) fileCtx.out << file << ": " << path << ": " << ShownValue(media.tree.get(), path) << " -> (removed)\n";
            node->SetChanged(kDeleted);
            any = true;
        }
        if (!any) return EditOutcome::Unchanged;
        if (run.dryRun) {
            // One property may stand for several frames (a comment in each language): all go.
            fileCtx.out << PreviewWrite(media, run);
            return EditOutcome::Previewed;
        }
        WriteBack(fileCtx, media, run);
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"rm", "remove properties from the files' tags",
                          "rm [--dry-run] [--progress] [-r] [-j N] [-q] [--allow-loss] [--no-id3v1] [--no-id3v2] [--no-jukebox]\n"
                          "    FILE... GROUP:NAME...\n"
                          "  Removes each property (\"Track:Comments\") from every tag that holds it; --dry-run lists\n"
                          "  every frame that would go. A file whose tags hold what the write would lose is left as\n"
                          "  it is, unless --allow-loss. -j N works on N files at once (default: one per core).",
                          Run});

}  // namespace tagvera::cli
