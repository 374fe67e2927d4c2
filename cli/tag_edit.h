// What the tag-changing subcommands (set, rm, strip, repair) share: telling files from property
// arguments, running over many files with a progress line, and saying what a write did.
#ifndef TAGVERA_CLI_TAG_EDIT_H
#define TAGVERA_CLI_TAG_EDIT_H

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/command.h"
#include "cli/media_file.h"

namespace tagvera::cli {

// "Track:Name" in "Track:Name=Blue in Green" or in rm's "Track:Comments": a group, a colon and a
// name, or an alias ("title=Blue in Green"), and no file of that name.
bool IsPropertyArgument(const std::string& arg);

struct EditRun {
    bool dryRun = false;
    bool progress = false;  // a progress line on standard error
    bool terminal = false;  // standard error is a terminal: the progress line is redrawn in place
    bool recursive = false;
    bool allowLoss = false;  // write even when the file's tags hold what the write would lose
    bool quiet = false;      // nothing but failures (and a dry run's changes)
    uint32_t leftOut = 0;    // kinds of tag this run leaves as they are (--no-id3v1 ...: kMp3WriteNo*)
    unsigned jobs = 1;       // files worked on at once (-j)
};

// The flags every editing command takes: --dry-run, --progress (also on when standard error is a
// terminal), -r, -q; set and rm add --allow-loss. Those that may work on several files at once
// take kJobsOptions (cli/jobs.h) too.
inline const std::set<std::string> kEditFlags = {"--dry-run", "-n", "--progress", "-r", "--recursive", "-q", "--quiet"};
// The flags of the commands that write properties: set and rm.
inline const std::set<std::string> kWriteFlags = {"--allow-loss", "--no-id3v1", "--no-id3v2", "--no-jukebox", "--custom"};
// parallel: the command took kJobsOptions, its files may be worked on at once (several files
// edited from one source, or renamed into one folder, are not).
EditRun ParseEditFlags(const ParsedArgs& parsed, bool parallel = false);

// What an edit did to one file, for the summary a recursive run ends with.
enum class EditOutcome { Written, Unchanged, Previewed };

// Runs edit over every file the names give (folders with -r), run.jobs of them at once, each with
// a context of its own whose output is printed in the files' order; failures are reported as
// "tagvera: FILE: REASON" and the run goes on; kExitDataError when any file failed. A recursive
// run ends with a count of each outcome and of the files it passed over because no importer reads
// them.
int ForEachFile(CommandContext& ctx, const EditRun& run, const std::vector<std::string>& names,
                const std::function<EditOutcome(CommandContext& fileCtx, const std::string& file)>& edit);

// The line a file gets when the edit left it alone, unless the run is quiet.
EditOutcome Unchanged(CommandContext& ctx, const EditRun& run, const std::string& file, const std::string& why);

// A file opened for writing through its importer (the MP3 importer's Xing repair as asked).
MediaFile OpenForEdit(const host::Host& host, const std::string& path, bool xingRepair = false);

// Writes tree back and prints what the write did; the bytes of on-demand properties come from
// dataSource (the importer itself when null: another file's importer when they were copied from
// there). Unless run.allowLoss, a file whose tags hold what the write would lose is left as it is.
void WriteBack(CommandContext& ctx, const MediaFile& media, const EditRun& run,
               IMPAHandleMetaProperties* dataSource = nullptr);

// What the write of the edited tree would change, as the importer plans it (side effects
// included), as indented lines; "" when the importer cannot say.
std::string PreviewWrite(const MediaFile& media, const EditRun& run, IMPAHandleMetaProperties* dataSource = nullptr);

// The importer's IMPAWriteReport text, "" when it has none.
std::string WriteReportOf(const MediaFile& media);

// The value of a property as one line, for --dry-run.
std::string ShownValue(IMPAMetaProperty* tree, const std::string& path);

}  // namespace tagvera::cli

#endif
