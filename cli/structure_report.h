// The commands that show a file's structure as one importer reads it (frames, km, and those to
// come): FILE [--json], through that importer's IMPAStructureReport.
#ifndef TAGVERA_CLI_STRUCTURE_REPORT_H
#define TAGVERA_CLI_STRUCTURE_REPORT_H

#include "cli/command.h"
#include "tagvera/abi.h"

namespace tagvera::cli {

// importerName goes into the message when the importer offers no report ("the MP3 importer").
int PrintStructureReport(CommandContext& ctx, const Args& args, const GUID& importer, const char* importerName);

}  // namespace tagvera::cli

#endif
