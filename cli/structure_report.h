// The commands that show a file's structure as one importer reads it (frames, km, and those to
// come): FILE [--json], through that importer's IMPAStructureReport; and what a tree leaves out.
#ifndef TAGVERA_CLI_STRUCTURE_REPORT_H
#define TAGVERA_CLI_STRUCTURE_REPORT_H

#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/media_file.h"
#include "tagvera/abi.h"

namespace tagvera::cli {

// importerName goes into the message when the importer offers no report ("the MP3 importer").
int PrintStructureReport(CommandContext& ctx, const Args& args, const GUID& importer, const char* importerName);

// A part of a file that its tree leaves out because an earlier part names the same property.
struct LeftOutPart {
    std::string property;  // "Track:Comments"
    std::string part;      // where the file holds it: "COMM"
    std::string holds;     // what it says: "[deu] [] \"Kommentar\""
};

// What media's file holds beyond its tree, as its importer says; none when the importer has
// nothing to say.
std::vector<LeftOutPart> LeftOutOf(const MediaFile& media);

}  // namespace tagvera::cli

#endif
