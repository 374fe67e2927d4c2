// CImportMP3File: opening a file, the interfaces' slots, and the statistics of the result tree.
// Reading the tags and on-demand data is in mp3_importer_tags.cpp, writing in mp3_importer_write.cpp.
#include "mp3/mp3_importer.h"

#include <limits>

#include "base/error.h"
#include "component/managed_component.h"
#include "mp3/mp3_read_plan.h"
#include "mp3/mpeg/xing_repair.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "tagvera/plugin.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

constexpr auto kMimeTypes = advertised::AsImporterList(advertised::kMp3MimeTypes, advertised::ListEnd::Separator);
constexpr auto kExtensions = advertised::AsImporterList(advertised::kMp3Extensions, advertised::ListEnd::Separator);

}  // namespace

CImportMP3File::~CImportMP3File() = default;

void CImportMP3File::Forget() {
    ReleaseTags();
    id3v2_.reset();
    probes_.reset();
    file_.reset();
    path_.clear();
    audio_ = Mp3AudioInfo{};
    writeReport_.clear();
}

void CImportMP3File::ReleaseTags() {
    result_.reset();
    id3v2_.reset();
    jukebox_.reset();
    tagsLoaded_ = false;
}

void CImportMP3File::CloseFile() {
    probes_.reset();
    file_.reset();
}

platform::File& CImportMP3File::OpenedFile() {
    if (!file_) file_.emplace(platform::OpenForReading(path_));
    return *file_;
}

ByteSource& CImportMP3File::ProbedFile() {
    if (!probes_) probes_.emplace(OpenedFile(), kMp3HeadProbe, kMp3TailProbe);
    return *probes_;
}

HRESULT CImportMP3File::OpenFile(const char* path, OpenForm form) {
    if (!path || !*path) return TV_E_INVALIDARG;
    const HRESULT result = Guard([&]() -> HRESULT {
        Forget();
        try {
            file_.emplace(platform::OpenForReading(path));
        } catch (const Error&) {
            return TV_E_FAIL;
        }
        // Only a regular file: a FIFO or device would block or never end.
        if (!file_->regular()) return TV_E_FAIL;
        readPriority_ = ReadTagReadPriority();

        uint32_t tagSize = 0;
        if (form == OpenForm::Full) {
            if (const HRESULT hr = LinkId3v2(path, &tagSize); Failed(hr)) return hr;
        }
        Mp3AudioInfo audio;
        Mp3ScanOptions scan;
        scan.fileWritable = xingRepair_ && platform::IsWritableFile(path);
        if (const HRESULT hr = ScanMp3Audio(ProbedFile(), tagSize, &audio, scan); Failed(hr)) return hr;
        // The one change reading makes (mpeg/xing_repair.h); a file that refuses it is read as it is.
        if (audio.xingRepair &&
            ApplyXingRepair(path, *audio.xingRepair, file_->size()) == XingRepairResult::Written) {
            writeReport_ = std::string("xing: ") + XingRepairText(*audio.xingRepair) + "\n";
            CloseFile();  // what was read of its head is no longer what it holds
        }
        audio_ = audio;
        path_ = path;
        return TV_S_OK;
    });
    // Whatever failed, nothing of the file is kept.
    if (Failed(result)) Forget();
    return result;
}

HRESULT CImportMP3File::SetStatistics(IMPAMetaProperty* tree) {
    auto stats = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
    if (!stats) return TV_E_NOINTERFACE;
    // The size of the file as it is now: a write or repair since it was opened closed the handle.
    const uint64_t fileSize = OpenedFile().size();
    FirstFailure step;
    step(stats->SetFilename(path_.c_str()));
    step(stats->SetFileSize(StatisticValue(fileSize)));
    step(stats->SetFileProtection(0));
    step(stats->SetMimeType(kMimeType));
    step(stats->SetQuality(audio_.bitRate));
    step(stats->SetChannels(audio_.channels));
    step(stats->SetLength(audio_.durationMs));
    step(stats->SetVBR(audio_.isVbr ? 1 : 0));
    // Not one of the standard statistics, but what a player shows next to them.
    step(tree->AddNumber("Statistics:SampleRate", audio_.sampleRate, kFlagReadOnly, true, nullptr));
    if (Failed(step.result())) return step.result();
    const bool complete = audio_.bitRate != 0 && audio_.channels != 0 && audio_.sampleRate != 0 &&
                          audio_.durationMs != 0 && audio_.durationMs != std::numeric_limits<uint32_t>::max() &&
                          FitsStatistic(fileSize);
    return complete ? TV_S_OK : TV_S_INCOMPLETE;
}

HRESULT CImportMP3File::HandOut(IMPAMetaProperty* tree, IMPAMetaProperty** out) const {
    return tree->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
}

HRESULT CImportMP3File::Interrogate(IMPAMetaProperty** tree) {
    if (!tree) return TV_E_POINTER;
    *tree = nullptr;
    return Guard([&]() -> HRESULT {
        // A second call hands out the tree already loaded.
        if (const HRESULT hr = LoadTags(); Failed(hr)) return hr;
        const HRESULT stats = SetStatistics(result_.get());
        if (Failed(stats)) return stats;
        if (const HRESULT hr = HandOut(result_.get(), tree); Failed(hr)) return hr;
        return stats;
    });
}

HRESULT CImportMP3File::InterrogateLite(IMPAMetaProperty** tree) {
    if (!tree) return TV_E_POINTER;
    *tree = nullptr;
    return Guard([&]() -> HRESULT {
        if (path_.empty()) return TV_E_NOTLOADED;
        // A tree of its own: the full tree, when loaded, stays what on-demand data refers to.
        ComPtr<IMPAMetaProperty> lite;
        if (const HRESULT hr = NewPropertyTree(classFactory(), lite); Failed(hr)) return hr;
        if (const HRESULT hr = MergeId3v1(lite.get()); Failed(hr)) return hr;
        const HRESULT stats = SetStatistics(lite.get());
        if (Failed(stats)) return stats;
        if (const HRESULT hr = HandOut(lite.get(), tree); Failed(hr)) return hr;
        return stats;
    });
}

HRESULT CImportMP3File::SetOption(uintptr_t option, uintptr_t value) {
    if (option == kMp3OptionXingRepair) {
        if (value > 1) return TV_E_INVALIDARG;
        xingRepair_ = value == 1;
    }
    return TV_S_OK;
}

HRESULT CImportMP3File::SetOption2(uintptr_t, uintptr_t) { return TV_S_OK; }

HRESULT CImportMP3File::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyListOut(kMimeTypes.view(), buffer, size);
}

HRESULT CImportMP3File::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyListOut(kExtensions.view(), buffer, size);
}

HRESULT CreateImportMP3File(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportMP3File>(package, outer, out);
}

}  // namespace tagvera
