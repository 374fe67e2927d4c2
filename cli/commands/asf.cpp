// tagvera asf FILE [--json]: the header objects of a Windows Media file with their ids, offsets and
// sizes, the data and index objects after them, and every attribute with the object that holds
// it, its stream, language, type and value.
#include "cli/command_registry.h"
#include "cli/structure_report.h"
#include "tagvera/components.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    return PrintStructureReport(ctx, args, CLSID_CImportWMAFile, "the Windows Media importer");
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"asf", "show the header objects and attributes of a Windows Media file",
                                     "asf [--json] FILE\n"
                                     "  Lists every object of the header and its extension (id, name, offset, size), the\n"
                                     "  objects after it, then each attribute with the object that holds it (Content\n"
                                     "  Description, Extended Content Description, Metadata, Metadata Library), its stream,\n"
                                     "  language, type and value, and warns of damage.",
                                     Run});

}  // namespace tagvera::cli
