// CImportKMJFile: opening a file, the interfaces' slots, and interrogation. The jukebox block
// and on-demand data are in kmj_jukebox_source.cpp, the structure report in
// kmj_structure_report.cpp.
#include "kmedia/kmj_importer.h"

#include <cstring>

#include "base/error.h"
#include "component/managed_component.h"
#include "kmedia/content_properties.h"
#include "kmedia/km_codes.h"
#include "kmedia/stream_summary.h"
#include "kmedia/trailer.h"
#include "metaprop/node_access.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

constexpr auto kMimeTypes =
    advertised::AsImporterList(advertised::kKorvaMediaMimeTypes, advertised::ListEnd::Separator);
constexpr auto kExtensions =
    advertised::AsImporterList(advertised::kKorvaMediaExtensions, advertised::ListEnd::Separator);

// "Extension", "MimeType" and "HasVideo" are read-only and private; the other statistics read-only.
constexpr uint32_t kFileTypeFlags = kFlagReadOnly | kFlagPrivate;

bool HasText(IMPAMetaProperty* tree, const char* path) {
    ComPtr<IMPAMetaProperty> node;
    if (Failed(tree->FindByPath(path, node.put())) || !node) return false;
    return !ValueText(ValueOf(node.get())).empty();
}

HRESULT AddTextIfAbsent(IMPAMetaProperty* tree, const char* path, const std::string& text) {
    if (HasText(tree, path)) return TV_S_OK;
    return tree->AddText(path, text.c_str(), 0, true, nullptr);
}

}  // namespace

CImportKMJFile::~CImportKMJFile() = default;

void CImportKMJFile::Forget() {
    tree_.reset();
    jukebox_.reset();
    edit_.reset();
    tail_.reset();
    file_.reset();
    path_.clear();
    extension_.clear();
    jukeboxLoaded_ = jukeboxPresent_ = false;
    writeReport_.clear();
}

HRESULT CImportKMJFile::OpenFile(const char* path, OpenForm form) {
    if (!path || !*path) return TV_E_INVALIDARG;
    const HRESULT result = Guard([&]() -> HRESULT {
        Forget();
        try {
            file_.emplace(platform::OpenForReading(path));
        } catch (const Error&) {
            return TV_E_FAIL;
        }
        if (!file_->regular()) return TV_E_FAIL;
        if (const HRESULT hr = NewPropertyTree(classFactory(), tree_); Failed(hr)) return hr;
        if (form == OpenForm::Full) {
            if (Failed(CreateJukeboxParser(classFactory(), jukebox_.put())) || !jukebox_) return TV_E_OUTOFMEMORY;
        }
        path_ = path;
        extension_ = platform::ExtensionOf(path_);
        // The trailer and the ID3v1 tag share the file's last bytes: one read serves both.
        tail_.emplace(*file_, 0, kmedia::kTrailerTailSize);
        edit_.emplace();
        const HRESULT opened = edit_->SetInputFile(path_, *file_, true);
        if (opened == kmedia::kKmNotKorvaMedia) {
            uint8_t magic[4] = {};
            if (file_->readAt(0, magic) >= 3 && std::memcmp(magic, ".ka", 3) == 0) return kmedia::kKmBareKorvaAudio;
        }
        return opened;
    });
    if (Failed(result)) Forget();
    return result;
}

HRESULT CImportKMJFile::MergeId3v1() {
    Id3v1Tag tag;
    if (Failed(ReadId3v1Tag(*tail_, &tag))) return TV_S_OK;  // no tag is normal
    return MergeId3v1Tag(tag, tree_.get());
}

HRESULT CImportKMJFile::SetStatistics(IMPAFileProperties* stats, bool* complete) {
    const kmedia::StreamSummary summary = kmedia::SummarizeStreams(Headers());
    IMPAMetaProperty* tree = tree_.get();
    FirstFailure step;
    for (const auto& v : summary.videos) {
        step(tree->AddNumber("Statistics:Width", v.width, kFlagReadOnly, true, nullptr));
        step(tree->AddNumber("Statistics:Height", v.height, kFlagReadOnly, true, nullptr));
        step(tree->AddNumber("Statistics:VideoBitrate", v.bitRate, kFlagReadOnly, true, nullptr));
    }
    const uint64_t quality = uint64_t(summary.videoBitRate) + summary.audioBitRate;
    if (summary.channels != 0) step(stats->SetChannels(summary.channels));
    if (quality != 0) {
        step(stats->SetQuality(StatisticValue(quality)));
        step(stats->SetVBR(0));
    }
    if (summary.hasVideo) step(tree->AddFlag("Statistics:HasVideo", 1, kFileTypeFlags, true, nullptr));
    step(tree->AddText("Statistics:Extension", summary.Extension(extension_).c_str(), kFileTypeFlags, true, nullptr));
    step(tree->AddText("Statistics:MimeType", summary.MimeType().c_str(), kFileTypeFlags, true, nullptr));
    if (summary.surround || summary.channels > 2)
        step(tree->AddText("Statistics:Surround", "true", kFlagReadOnly, true, nullptr));
    if (!summary.audioCodec.empty())
        step(tree->AddText("Statistics:AudioCodecFourCC", summary.audioCodec.c_str(), kFlagReadOnly, true, nullptr));
    const uint32_t duration = edit_->DurationMs();
    if (duration != 0) step(stats->SetLength(duration));
    *complete = duration != 0 && quality != 0 && summary.channels != 0;
    return step.result();
}

HRESULT CImportKMJFile::MergeContent(IMPAFileProperties*) {
    if (!Headers().content || !Headers().content->header.KnownVersion()) return TV_S_OK;
    FirstFailure step;
    for (const auto& [path, text] : kmedia::ContentProperties(*Headers().content))
        step(AddTextIfAbsent(tree_.get(), path.c_str(), text));
    return step.result();
}

HRESULT CImportKMJFile::Fill(IMPAMetaProperty** out, OpenForm form) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        if (!edit_ || !tree_) return TV_E_NOTLOADED;
        if (form == OpenForm::Full) LoadJukebox();  // a block that does not load leaves the other sources
        auto stats = QueryAs<IMPAFileProperties>(tree_.get(), IID_IMPAFileProperties);
        if (!stats) return TV_E_NOINTERFACE;
        FirstFailure step;
        step(MergeId3v1());
        bool complete = false;
        step(SetStatistics(stats.get(), &complete));
        step(MergeContent(stats.get()));
        step(stats->SetFilename(path_.c_str()));
        if (Failed(step.result())) return step.result();
        if (const HRESULT hr = tree_->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out)); Failed(hr))
            return hr;
        return form == OpenForm::Full && !complete ? TV_S_INCOMPLETE : TV_S_OK;
    });
}

HRESULT CImportKMJFile::Interrogate(IMPAMetaProperty** tree) { return Fill(tree, OpenForm::Full); }
HRESULT CImportKMJFile::InterrogateLite(IMPAMetaProperty** tree) { return Fill(tree, OpenForm::Light); }

HRESULT CImportKMJFile::SetOption(uintptr_t, uintptr_t) { return TV_S_OK; }
HRESULT CImportKMJFile::SetOption2(uintptr_t, uintptr_t) { return TV_S_OK; }

HRESULT CImportKMJFile::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyListOut(kMimeTypes.view(), buffer, size);
}

HRESULT CImportKMJFile::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyListOut(kExtensions.view(), buffer, size);
}


HRESULT CreateImportKMJFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportKMJFile>(package, outer, out);
}

}  // namespace tagvera
