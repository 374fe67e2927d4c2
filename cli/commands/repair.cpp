// tagvera repair: give VBR MP3 files a correct Xing header, the one change that reading a file
// may make (which `tagvera info` never does).
#include <ostream>
#include <string>

#include "cli/command_registry.h"
#include "cli/tag_edit.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--progress", "-r", "--recursive", "-q", "--quiet"});
    const EditRun run = ParseEditFlags(parsed);
    return ForEachFile(ctx, run, parsed.positional, [&](const std::string& file) {
        const MediaFile media = OpenForEdit(ctx.host(), file, true);
        const std::string report = WriteReportOf(media);
        if (report.empty()) return Unchanged(ctx, run, file, "nothing to repair");
        if (!run.quiet) ctx.out << file << ": " << report;
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"repair", "write a correct Xing header into VBR MP3 files that lack one",
                          "repair [--progress] [-r] [-q] FILE...\n"
                          "  A VBR stream without a Xing header, or with a wrong frame count, gets a corrected one\n"
                          "  over its first frames; other files are left as they are.",
                          Run});

}  // namespace tagvera::cli
