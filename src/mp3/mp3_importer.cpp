// CImportMP3File: opening a file, the interfaces' slots, and the statistics of the result tree.
// Reading the tags and on-demand data is in mp3_importer_tags.cpp.
#include "mp3/mp3_importer.h"

#include <cstring>
#include <limits>

#include "base/error.h"
#include "component/managed_component.h"
#include "metaprop/metaprop_component.h"
#include "tags/id3v1/id3v1_map.h"
#include "mp3/mp3_read_plan.h"
#include "mp3/mp3_tag_writer.h"
#include "mp3/mpeg/xing_repair.h"
#include "platform/safe_write.h"
#include "tagvera/plugin.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

// The statistics are 32-bit; a figure that does not fit is given as the largest value.
uint32_t Clip32(uint64_t value) {
    return value > std::numeric_limits<uint32_t>::max() ? std::numeric_limits<uint32_t>::max()
                                                        : static_cast<uint32_t>(value);
}

// A ';'-separated list into the caller's buffer, or its size when the buffer is missing or short.
HRESULT CopyList(const char* list, char* buffer, uint32_t* size) {
    if (!size) return TV_E_FAIL;
    const uint32_t needed = static_cast<uint32_t>(std::strlen(list)) + 1;
    if (*size < needed || !buffer) {
        const bool shortBuffer = *size < needed && buffer;
        *size = needed;
        return shortBuffer ? TV_E_BUFFERTOOSMALL : TV_S_OK;
    }
    std::memcpy(buffer, list, needed);
    *size = needed;
    return TV_S_OK;
}

}  // namespace

CImportMP3File::~CImportMP3File() = default;

HRESULT CImportMP3File::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
    if (iid == IID_IMPAInterrogateFile) return Hand(static_cast<IMPAInterrogateFile*>(this), out);
    if (iid == IID_IMPAHandleMetaProperties2 || iid == IID_IMPAHandleMetaProperties)
        return Hand(static_cast<IMPAHandleMetaProperties2*>(this), out);
    if (iid == IID_IMPAInterrogateLite) return Hand(static_cast<IMPAInterrogateLite*>(this), out);
    if (iid == IID_IMPAWriteReport) return Hand(static_cast<IMPAWriteReport*>(this), out);
    if (iid == IID_IMPAStructureReport) return Hand(static_cast<IMPAStructureReport*>(this), out);
    return NoInterface(out);
}

HRESULT CImportMP3File::OpenFull(const char* path) { return Open(path, true); }
HRESULT CImportMP3File::OpenLight(const char* path) { return Open(path, false); }

void CImportMP3File::Forget() {
    ReleaseTags();
    id3v2_.reset();
    probes_.reset();
    file_.reset();
    path_.clear();
    fileSize_ = 0;
    id3v2TagSize_ = 0;
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
    // Writers close the handle after writing: the statistics give the size the file has now.
    if (!path_.empty()) {
        try {
            fileSize_ = platform::FileSize(path_);
        } catch (const Error&) {
        }
    }
}

platform::File& CImportMP3File::OpenedFile() {
    if (!file_) file_.emplace(path_, platform::OpenMode::Read);
    return *file_;
}

ByteSource& CImportMP3File::ProbedFile() {
    if (!probes_) probes_.emplace(OpenedFile(), kMp3HeadProbe, kMp3TailProbe);
    return *probes_;
}

HRESULT CImportMP3File::Open(const char* path, bool full) {
    if (!path || !*path) return TV_E_INVALIDARG;
    const HRESULT result = Guard([&]() -> HRESULT {
        Forget();
        try {
            file_.emplace(path, platform::OpenMode::Read);
        } catch (const Error&) {
            return TV_E_FAIL;
        }
        // Only a regular file: a FIFO or device would block or never end.
        if (!file_->regular()) return TV_E_FAIL;
        fileSize_ = file_->size();

        uint32_t tagSize = 0;
        if (full) {
            if (const HRESULT hr = CreateID3v2Parser(parserContext(), id3v2_.put()); Failed(hr) || !id3v2_) {
                Forget();
                return TV_E_OUTOFMEMORY;
            }
            if (const HRESULT hr = id3v2_->LinkSource(&ProbedFile(), path, &tagSize, kLinkId3v2Only); Failed(hr)) {
                Forget();
                return hr;
            }
        }
        Mp3AudioInfo audio;
        Mp3ScanOptions scan;
        scan.fileWritable = xingRepair_ && platform::IsWritableFile(path);
        if (const HRESULT hr = ScanMp3Audio(ProbedFile(), tagSize, &audio, scan); Failed(hr)) {
            Forget();
            return hr;
        }
        // The one change reading makes (mpeg/xing_repair.h); a file that refuses it is read as it is.
        if (audio.xingRepair && ApplyXingRepair(path, *audio.xingRepair, fileSize_) == XingRepairResult::Written) {
            writeReport_ = std::string("xing: ") + XingRepairText(*audio.xingRepair) + "\n";
            CloseFile();  // what was read of its head is no longer what it holds
        }
        audio_ = audio;
        id3v2TagSize_ = tagSize;
        path_ = path;
        return TV_S_OK;
    });
    // Whatever failed, nothing of the file is kept.
    if (Failed(result)) Forget();
    return result;
}

HRESULT CImportMP3File::CreateTree(ComPtr<IMPAMetaProperty>& out) const {
    out.reset();
    // Without a host (tests, tools) the tree makes its own nodes.
    const HRESULT hr = classFactory() ? CreateThroughHost(CLSID_CMPAMetaProperty, IID_IMPAMetaProperty, out.put())
                                      : CreateStandaloneMetaProperty(out.put());
    if (Failed(hr) || !out) {
        out.reset();
        return TV_E_OUTOFMEMORY;
    }
    return TV_S_OK;
}

IUnknown* CImportMP3File::parserContext() const { return classFactory(); }

HRESULT CImportMP3File::SetStatistics(IMPAMetaProperty* tree) const {
    auto stats = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
    if (!stats) return TV_E_NOINTERFACE;
    HRESULT hr = TV_S_OK;
    auto step = [&](HRESULT r) {
        if (Failed(r) && Succeeded(hr)) hr = r;
    };
    step(stats->SetFilename(path_.c_str()));
    step(stats->SetFileSize(Clip32(fileSize_)));
    step(stats->SetFileProtection(0));
    step(stats->SetMimeType(kMimeType));
    step(stats->SetQuality(audio_.bitRate));
    step(stats->SetChannels(audio_.channels));
    step(stats->SetLength(audio_.durationMs));
    step(stats->SetVBR(audio_.isVbr ? 1 : 0));
    // Not one of the standard statistics, but what a player shows next to them.
    step(tree->AddNumber("Statistics:SampleRate", audio_.sampleRate, kFlagReadOnly, true, nullptr));
    if (Failed(hr)) return hr;
    const bool complete = audio_.bitRate != 0 && audio_.channels != 0 && audio_.sampleRate != 0 &&
                          audio_.durationMs != 0 && audio_.durationMs != std::numeric_limits<uint32_t>::max() &&
                          fileSize_ <= std::numeric_limits<uint32_t>::max();
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
        if (const HRESULT hr = CreateTree(lite); Failed(hr)) return hr;
        MergeId3v1Tag(ProbedFile(), lite.get());  // a file without an ID3v1 tag adds nothing
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

HRESULT CImportMP3File::GetWriteReport(char* buffer, uint32_t* size) {
    return CopyList(writeReport_.c_str(), buffer, size);
}
HRESULT CImportMP3File::SetOption2(uintptr_t, uintptr_t) { return TV_S_OK; }

HRESULT CImportMP3File::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyList(kMimeTypes, buffer, size);
}

HRESULT CImportMP3File::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyList(kExtensions, buffer, size);
}

HRESULT CImportMP3File::Prepare(uint32_t) {
    return Guard([&] { return RemoveMp3Tags(*this); });
}

HRESULT CImportMP3File::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force) {
    return WriteMetaProperties2(tree, dataSource, force, 0);
}

HRESULT CImportMP3File::WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                             uint32_t force, uint32_t options) {
    return Guard([&] { return WriteMp3Tags(*this, tree, dataSource, force, options); });
}

HRESULT CreateImportMP3File(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportMP3File>(package, outer, out);
}

}  // namespace tagvera
