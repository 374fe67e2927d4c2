// tagvera km FILE [--json]: the objects of a KorvaMedia file as they stand in it, each with its
// offset, size, version and fields, then the trailer, the ID3v1 tag and what is wrong. No other
// tool reads these files, so this is where a damaged one is looked at.
#include "cli/command_registry.h"
#include "cli/structure_report.h"
#include "tagvera/components.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    return PrintStructureReport(ctx, args, CLSID_CImportKMJFile, "the KorvaMedia importer");
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"km", "show the object layout of a KorvaMedia file",
                                     "km [--json] FILE\n"
                                     "  Lists every object (.KMF, PROP, CONT, MDPR, DATA, INDX) with its offset, size,\n"
                                     "  version and fields, the jukebox trailer and the ID3v1 tag, and warns of damage.",
                                     Run});

}  // namespace tagvera::cli
