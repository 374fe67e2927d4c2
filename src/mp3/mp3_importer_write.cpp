// CImportMP3File: writing an edited tree into the file's tags, and removing them. The importer
// drives: it reads the preferences once, has the tree mapped through the tags it loaded, lets go
// of the file, and hands the plan to the writers (mp3_tag_writer.h).
#include "base/error.h"
#include "mp3/mp3_importer.h"
#include "mp3/mp3_tag_writer.h"
#include "platform/file_lock.h"
#include "tagvera/mp3.h"

namespace tagvera {

HRESULT CImportMP3File::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force) {
    return WriteMetaProperties2(tree, dataSource, force, 0);
}

HRESULT CImportMP3File::WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                             uint32_t force, uint32_t options) {
    if (!tree) return TV_S_OK;
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty()) return TV_E_NOTLOADED;
        const Mp3EditPreferences prefs = ApplyWriteOptions(ReadMp3EditPreferences(), options);
        const bool dryRun = (options & kMp3WriteDryRun) != 0;
        // Held from the read of the tags the tree is mapped onto until they are written: a writer
        // that went first has its change in what is read here, and the tree's changes (not its
        // stale copies of the rest) land on top of it.
        platform::FileWriteLock lock(path_);
        ReleaseTags();
        CloseFile();
        if (const HRESULT hr = LoadTags(); Failed(hr)) return hr;
        Mp3WritePlan plan;
        // The loaded tags stay while the tree is mapped: a host may hand the importer itself in
        // as the data source.
        const HRESULT planned = Guard([&] {
            plan = PlanMp3Write({tree, dataSource, force, dryRun}, prefs,
                                {id3v2_.get(), jukebox_.get(), &ProbedFile(), classFactory(), jukeboxUnreadable_});
            return TV_S_OK;
        });
        // The next read starts again from the file, which may be a new one after a rewrite.
        ReleaseTags();
        CloseFile();
        if (Failed(planned)) return planned;
        if (dryRun) {
            writeReport_ = DescribeMp3Plan(plan);
            return plan.mapped;
        }
        Mp3WriteOutcome outcome = WriteMp3Plan(lock, std::move(plan), options);
        writeReport_ = std::move(outcome.report);
        return outcome.result;
    });
}

HRESULT CImportMP3File::Prepare(uint32_t) {
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty()) return TV_E_NOTLOADED;
        const std::string path = path_;
        ReleaseTags();
        CloseFile();
        const Mp3RemoveOutcome removed = RemoveMp3Tags(path);
        HRESULT hr = removed.result;
        // Statistics and the tag size are those of the file as it is now. A file that cannot be
        // opened again leaves the importer unloaded; the result stays the write's.
        if (Succeeded(hr)) OpenFile(path.c_str(), OpenForm::Full);
        writeReport_ = removed.report + writeReport_;
        return hr;
    });
}

}  // namespace tagvera
