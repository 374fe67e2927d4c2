#include "cli/tag_edit.h"
#include "cli/result_words.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <optional>
#include <ostream>

#include "cli/jobs.h"
#include "cli/path_text.h"
#include "cli/property_names.h"
#include "cli/property_view.h"
#include "cli/tool_services.h"
#include "host/result_text.h"
#include "tagvera/mp3.h"
#include "tagvera/plugin.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {

namespace {

// The files this run wrote with their sync left for later (kMp3WriteDeferSync): one sync per file
// system at the end instead of one per file, done before the command reports that it is done.
struct DeferredSyncList {
    std::mutex mutex;
    std::vector<std::string> paths;
};
DeferredSyncList& DeferredSyncs() {
    static DeferredSyncList list;
    return list;
}

void DeferSync(const std::string& path) {
    DeferredSyncList& list = DeferredSyncs();
    std::lock_guard lock(list.mutex);
    list.paths.push_back(path);
}

// False (after saying so) when what was written may not be on disk.
bool SyncDeferredWrites(CommandContext& ctx) {
    std::vector<std::string> paths;
    {
        DeferredSyncList& list = DeferredSyncs();
        std::lock_guard lock(list.mutex);
        std::swap(paths, list.paths);
    }
    if (paths.empty()) return true;
    std::vector<const char*> names;
    for (const auto& p : paths) names.push_back(p.c_str());
    ComPtr<IKMABuffer> reason;
    const HRESULT hr = ToolServices(ctx)->SyncFiles(names.data(), uint32_t(names.size()), reason.put());
    if (Succeeded(hr)) return true;
    ctx.err << "tagvera: written, but not safely on disk: " << FailureText(hr, reason.get()) << '\n';
    return false;
}

// The report's lines, each indented under the file's line.
std::string Indented(const std::string& report) {
    std::string out;
    size_t start = 0;
    while (start < report.size()) {
        const size_t end = report.find('\n', start);
        out += "  " + report.substr(start, end - start) + '\n';
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return out;
}

// A file without any write permission bit is read-only even for a user whom the system lets write
// it anyway, as the library treats it.
bool WritableByItsMode(const std::string& path) {
#if defined(_WIN32)
    // Windows has one read-only attribute, which the system's permissions show as no write bit.
    std::error_code ec;
    const auto permissions = std::filesystem::status(Utf8Path(path), ec).permissions();
    return !ec && (permissions & std::filesystem::perms::owner_write) != std::filesystem::perms::none;
#else
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 &&
           ::access(path.c_str(), W_OK) == 0;
#endif
}

}  // namespace

bool IsPropertyArgument(const std::string& arg) {
    const std::string name = arg.substr(0, arg.find('='));
    const size_t colon = name.find(':');
    if (!IsAlias(name) && (colon == std::string::npos || colon == 0 || colon + 1 == name.size())) return false;
    std::error_code ec;
    return !std::filesystem::exists(Utf8Path(arg), ec);
}

EditRun ParseEditFlags(const ParsedArgs& parsed, bool parallel) {
    EditRun run;
    run.dryRun = parsed.has("--dry-run") || parsed.has("-n");
    run.recursive = parsed.has("-r") || parsed.has("--recursive");
    run.allowLoss = parsed.has("--allow-loss");
    run.quiet = parsed.has("-q") || parsed.has("--quiet");
    if (parsed.has("--no-id3v1")) run.leftOut |= kMp3WriteNoId3v1;
    if (parsed.has("--no-id3v2")) run.leftOut |= kMp3WriteNoId3v2;
    if (parsed.has("--no-jukebox")) run.leftOut |= kMp3WriteNoJukebox;
    if (parallel) run.jobs = JobsOf(parsed);
    run.terminal = ::isatty(STDERR_FILENO) == 1;
    run.progress = parsed.has("--progress") || (run.terminal && !run.quiet);
    return run;
}

EditOutcome Unchanged(CommandContext& ctx, const EditRun& run, const std::string& file, const std::string& why) {
    if (!run.quiet) ctx.out << file << ": " << why << '\n';
    return EditOutcome::Unchanged;
}

int ForEachFile(CommandContext& ctx, const EditRun& run, const std::vector<std::string>& names,
                const std::function<EditOutcome(CommandContext&, const std::string&)>& edit) {
    if (names.empty()) throw UsageError("name at least one file");
    SkippedTypes skipped;
    const auto inputs = CollectInputs(ctx.host(), names, run.recursive, &skipped);
    std::vector<std::optional<EditOutcome>> outcomes(inputs.size());  // none: failed
    const bool showProgress = run.progress && inputs.size() > 1;
    // On a terminal the line is redrawn in place; in a log, each file is a plain line. With jobs
    // the line names the file whose lines come next.
    const auto clear = [&] {
        if (showProgress && run.terminal) ctx.err << "\r\033[K";
    };
    const auto shown = [&](size_t i) {
        if (!showProgress) return;
        ctx.err << (run.terminal ? "\r\033[K[" : "[") << i + 1 << "/" << inputs.size() << "] " << inputs[i].path
                << (run.terminal ? "" : "\n") << std::flush;
    };
    const auto work = [&](size_t i, std::ostream& out, std::ostream& err) {
        const MediaInput& input = inputs[i];
        CommandContext file(out, err, ctx);
        try {
            if (!input.error.empty()) throw DataError(input.path, input.error);
            outcomes[i] = edit(file, input.path);
        } catch (const DataError& e) {
            if (showProgress && run.terminal) err << "\r\033[K";
            err << "tagvera: " << e.file() << ": " << e.what() << '\n';
        }
    };
    try {
        RunInOrder(inputs.size(), run.jobs, ctx.out, ctx.err, work, shown);
    } catch (...) {
        SyncDeferredWrites(ctx);
        throw;
    }
    clear();
    size_t written = 0, unchanged = 0, previewed = 0, failed = 0;
    for (const auto& outcome : outcomes) {
        if (!outcome) ++failed;
        else if (*outcome == EditOutcome::Written) ++written;
        else if (*outcome == EditOutcome::Unchanged) ++unchanged;
        else ++previewed;
    }
    int status = failed ? kExitDataError : kExitOk;
    if (!SyncDeferredWrites(ctx)) status = kExitDataError;
    if (run.recursive && !run.quiet) {
        ctx.out << inputs.size() << (inputs.size() == 1 ? " file: " : " files: ");
        ctx.out << (run.dryRun ? std::to_string(previewed) + " to change" : std::to_string(written) + " written") << ", "
                << unchanged << " unchanged, " << failed << " failed";
        if (!skipped.empty()) ctx.out << "; passed over, no importer reads them: " << SkippedText(skipped);
        ctx.out << '\n';
    }
    return status;
}

MediaFile OpenForEdit(const host::Host& host, const std::string& path, bool xingRepair) {
    MediaFile media = ReadMediaFile(host, path);
    if (!xingRepair) return media;
    // Opened again, this time allowing the one change reading may make.
    media.importer->SetOption(kMp3OptionXingRepair, 1);
    if (const HRESULT hr = media.importer->SetFilename(path.c_str()); Failed(hr))
        throw DataError(path, "cannot be opened: " + Why(hr));
    media.tree.reset();
    media.result = media.importer->Interrogate(media.tree.put());
    if (Failed(media.result)) throw DataError(path, "cannot be interrogated: " + Why(media.result));
    return media;
}

std::string PreviewWrite(const MediaFile& media, const EditRun& run, IMPAHandleMetaProperties* dataSource) {
    auto writer = QueryAs<IMPAHandleMetaProperties2>(media.importer.get(), IID_IMPAHandleMetaProperties2);
    if (!writer) return {};
    writer->WriteMetaProperties2(media.tree.get(), dataSource ? dataSource : writer.get(), 0, kMp3WriteDryRun | run.leftOut);
    return Indented(WriteReportOf(media));
}

std::string WriteReportOf(const MediaFile& media) {
    auto report = QueryAs<IMPAWriteReport>(media.importer.get(), IID_IMPAWriteReport);
    if (!report) return {};
    uint32_t size = 0;
    if (Failed(report->GetWriteReport(nullptr, &size)) || size <= 1) return {};
    std::string text(size, '\0');
    if (Failed(report->GetWriteReport(text.data(), &size))) return {};
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    return text;
}

void WriteBack(CommandContext& ctx, const MediaFile& media, const EditRun& run, IMPAHandleMetaProperties* dataSource) {
    HRESULT hr = TV_E_NOINTERFACE;
    if (auto writer = QueryAs<IMPAHandleMetaProperties2>(media.importer.get(), IID_IMPAHandleMetaProperties2)) {
        // Many files in a row: their file systems are synced once when the run ends.
        const uint32_t options = kMp3WriteDeferSync | run.leftOut | (run.allowLoss ? 0 : kMp3WriteKeepEverything);
        hr = writer->WriteMetaProperties2(media.tree.get(), dataSource ? dataSource : writer.get(), 0, options);
        if (Succeeded(hr)) DeferSync(media.path);
    } else if (auto plain = media.handler()) {
        // An importer without write options syncs each write itself.
        hr = plain->WriteMetaProperties(media.tree.get(), dataSource ? dataSource : plain.get(), 0);
    } else {
        throw DataError(media.path, "its importer cannot write tags");
    }
    if (hr == TV_E_NOTIMPL) throw DataError(media.path, "writing this kind of file is not built yet");
    const std::string report = WriteReportOf(media);
    if (Failed(hr)) {
        const bool wouldLose = report.find("would lose: ") != std::string::npos;
        std::string cause;  // what the file's state says about the failure
        if (!wouldLose) {
            cause = UnreadableReason(media.path);
            if (cause.empty() && !WritableByItsMode(media.path)) cause = "the file is read-only";
        }
        // The cause in words when the file's state gives one, else the importer's own reason
        // when it gave one line of it, else the result in words.
        const bool ownReason = report.rfind("not written: ", 0) == 0 && report.find('\n') + 1 == report.size();
        std::string reason = wouldLose      ? "not written: its tags hold what the write would lose (--allow-loss writes anyway)"
                             : !cause.empty() ? "not written: " + cause
                             : ownReason      ? report.substr(0, report.size() - 1)
                                              : "not written: " + Why(hr);
        if (cause.empty() && !ownReason && !report.empty()) {
            // The write's own reason: what it would lose, or a tag larger than its format can hold.
            const std::string lines = Indented(report);
            reason += "\n" + lines.substr(0, lines.size() - 1);
        }
        throw DataError(media.path, reason);
    }
    if (!run.quiet) ctx.out << media.path << ": written\n" << Indented(report);
}

std::string ShownValue(IMPAMetaProperty* tree, const std::string& path) {
    auto node = ChildAt(tree, path);
    if (!node) return "(none)";
    if (IsReference(node.get())) return "(data)";
    if (auto n = NumberOf(node.get()); n && TypeOf(node.get()) == kTypeNumber) return std::to_string(*n);
    return "\"" + OneLine(TextOf(node.get())) + "\"";
}

}  // namespace tagvera::cli
