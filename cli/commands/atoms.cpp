// tagvera atoms FILE [--json]: the boxes of an MP4 file as they stand in it, each with its offset
// and size, the movie box opened down to the item list. Where a file will not play or will not
// take tags, the layout is usually the reason.
#include "cli/command_registry.h"
#include "cli/structure_report.h"
#include "tagvera/components.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    return PrintStructureReport(ctx, args, CLSID_CImportM4File, "the MP4 importer");
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"atoms", "show the box tree of an MP4 file",
                                     "atoms [--json] FILE\n"
                                     "  Lists every top-level box with its offset and size, and the boxes inside the\n"
                                     "  movie box down to the items and their data types; warns of damage.",
                                     Run});

}  // namespace tagvera::cli
