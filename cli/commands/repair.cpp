// tagvera repair: give VBR MP3 files a correct Xing header, the one change that reading a file
// may make (which `tagvera info` never does).
#include <ostream>
#include <string>

#include "cli/command_registry.h"
#include "cli/jobs.h"
#include "cli/tag_edit.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--progress", "-r", "--recursive", "-q", "--quiet"}, kJobsOptions);
    const EditRun run = ParseEditFlags(parsed, true);
    return ForEachFile(ctx, run, parsed.positional, [&](CommandContext& fileCtx, const std::string& file) {
        const MediaFile media = OpenForEdit(fileCtx.host(), file, true);
        const std::string report = WriteReportOf(media);
        if (report.empty()) return Unchanged(fileCtx, run, file, "nothing to repair");
        if (!run.quiet) fileCtx.out << file << ": " << report;
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"repair", "write a correct Xing header into VBR MP3 files that lack one",
                          "repair [--progress] [-r] [-j N] [-q] FILE...\n"
                          "  A VBR stream without a Xing header, or with a wrong frame count, gets a corrected one\n"
                          "  over its first frames; other files are left as they are. -j N repairs N files at once\n"
                          "  (default: one per core).",
                          Run});

}  // namespace tagvera::cli
