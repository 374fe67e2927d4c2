// tagvera frames FILE [--json]: the ID3 frames of a file as they stand in it, in the ID3 fixtures'
// JSON form with --json, so that anyone can hold our reading against another reader's. The frames
// come from the MP3 importer's structure report, below any property mapping, for any file name.
#include "cli/command_registry.h"
#include "cli/structure_report.h"
#include "tagvera/components.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    return PrintStructureReport(ctx, args, CLSID_CImportMP3File, "the MP3 importer");
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"frames", "list the ID3 frames of a file as they stand in it",
                                     "frames [--json] FILE\n"
                                     "  Reads the ID3v2 tags (and ID3v1 and Lyrics3 at the end) without the property\n"
                                     "  mapping; --json prints them in the ID3 fixtures' form (version, frames).",
                                     Run});

}  // namespace tagvera::cli
