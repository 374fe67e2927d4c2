// tagvera strip: remove the tags of media files (the importer's Prepare).
#include <ostream>
#include <string>

#include "cli/command_registry.h"
#include "cli/jobs.h"
#include "cli/result_words.h"
#include "cli/tag_edit.h"
#include "host/result_text.h"
#include "tagvera/mp3.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, kEditFlags, kJobsOptions);
    const EditRun run = ParseEditFlags(parsed, true);
    return ForEachFile(ctx, run, parsed.positional, [&](CommandContext& fileCtx, const std::string& file) {
        const MediaFile media = OpenForEdit(fileCtx.host(), file);
        if (run.dryRun) {
            fileCtx.out << file << ": would remove its tags\n";
            return EditOutcome::Previewed;
        }
        auto handler = media.handler();
        HRESULT hr = handler ? handler->Prepare(0) : TV_E_NOINTERFACE;
        // Importers whose Prepare strips nothing may remove their tags through a write instead.
        if (hr == TV_E_NOTIMPL) {
            if (auto writer = QueryAs<IMPAHandleMetaProperties2>(media.importer.get(), IID_IMPAHandleMetaProperties2))
                hr = writer->WriteMetaProperties2(media.tree.get(), writer.get(), 0, kMp3WriteRemoveEverything);
        }
        if (hr == TV_E_NOTIMPL) throw DataError(file, "removing tags of this kind of file is not built yet");
        if (Failed(hr)) throw DataError(file, "tags not removed: " + Why(hr));
        if (WriteReportOf(media).empty()) return Unchanged(fileCtx, run, file, "no tags to remove");
        if (!run.quiet) fileCtx.out << file << ": tags removed\n";
        return EditOutcome::Written;
    });
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"strip", "remove the files' tags",
                          "strip [--dry-run] [--progress] [-r] [-j N] [-q] FILE...\n"
                          "  Removes every tag the file holds. MP3: the ID3v2 tags go and the ID3v1 record is\n"
                          "  blanked (its 128 bytes stay). KorvaMedia: the file is rewritten without its\n"
                          "  jukebox trailer, ID3v1 tag, jukebox copy and content description. MP4: every item of\n"
                          "  the item list goes. Windows Media: every attribute of the file goes (a stream's own\n"
                          "  stay). -j N works on N files at once (default: one per core), their lines printed\n"
                          "  in the files' order.",
                          Run});

}  // namespace tagvera::cli
