// CImportM4File: naming a file, loading it, interrogation and the cover picture on demand.
#include "mp4/m4_importer.h"

#include <cstring>

#include "base/error.h"
#include "component/managed_component.h"
#include "metaprop/genre_table.h"
#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "mp4/item_table.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/borrowed_statistics.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

constexpr auto kExtensions = advertised::AsImporterList(advertised::kMp4Extensions, advertised::ListEnd::Separator);
// The output file of SavePropertyData cannot be created.
constexpr HRESULT kCannotCreateOutput = static_cast<HRESULT>(0x8004008Au);

// What the streams are is left to the generic interrogator, which asks the media platform.
constexpr const char* kBorrowedStatistics[] = {"VideoMimeTypes", "AudioMimeTypes"};

bool IsCoverArt(IMPAMetaProperty* property) {
    return property && strcasecmp(NameOf(property), "Cover Art") == 0;
}

}  // namespace

CImportM4File::~CImportM4File() = default;

bool CImportM4File::Load() {
    editor_.reset();
    try {
        platform::File file = platform::OpenForReading(path_);
        if (!file.regular()) return false;
        fileSize_ = file.size();
        editor_.emplace().LoadMetadata(file);
        return true;
    } catch (const Error&) {
        editor_.reset();
        return false;
    }
}

HRESULT CImportM4File::OpenFile(const char* path, OpenForm) {
    if (!path) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        path_ = path;
        writeReport_.clear();
        return Load() ? TV_S_OK : TV_E_FAIL;
    });
}

HRESULT CImportM4File::Interrogate(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!editor_) return TV_E_NOTLOADED;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> tree;
        if (const HRESULT hr = NewPropertyTree(classFactory(), tree); Failed(hr)) return hr;
        auto stats = QueryAs<IMPAFileProperties>(tree.get(), IID_IMPAFileProperties);
        if (!stats) return TV_E_NOINTERFACE;
        if (const HRESULT hr = Fill(tree.get(), stats.get()); Failed(hr)) return hr;
        return tree->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
    });
}

HRESULT CImportM4File::Fill(IMPAMetaProperty* tree, IMPAFileProperties* stats) {
    using namespace mp4;
    const CMp4Editor& e = *editor_;
    FirstFailure step;
    if (auto title = e.GetItemText(kItemTitle)) step(stats->SetTitle(title->c_str()));
    if (auto artist = e.GetItemText(kItemArtist)) {
        step(stats->SetArtist(artist->c_str()));
        ComPtr<IMPAMetaProperty> existing;
        if (Failed(tree->FindByPath("Track:Artist", existing.put())) || !existing)
            step(tree->AddText("Track:Artist", artist->c_str(), 0, true, nullptr));
    }
    if (auto album = e.GetItemText(kItemAlbum)) step(stats->SetAlbum(album->c_str()));
    if (auto genre = e.GetItemText(kItemGenre)) {
        step(stats->SetGenre(genre->c_str()));
    } else if (auto number = e.GetItemInteger(kItemGenreNumber); number && *number > 0) {
        // "gnre" counts from 1; the shared table from 0.
        if (const char* name = GenreNameFromIndex(int(*number) - 1); *name) step(stats->SetGenre(name));
    }
    if (auto track = e.GetItemInteger(kItemTrack); track && *track) step(stats->SetTrackNumber(*track));
    if (auto year = e.GetItemText(kItemYear); year && std::atoi(year->c_str()) > 0) {
        ComPtr<IMPAMetaProperty> existing;
        if (Failed(tree->FindByPath("Track:Year", existing.put())) || !existing)
            step(tree->AddNumber("Track:Year", uint32_t(std::atoi(year->c_str())), 0, true, nullptr));
    }
    if (auto comment = e.GetItemText(kItemComment)) step(stats->SetComments(comment->c_str()));
    if (Failed(step.result())) return step.result();

    const MovieFacts& facts = e.facts();
    step(tree->AddText("Statistics:Extension", platform::ExtensionOf(path_).c_str(), kFlagReadOnly | kFlagPrivate, true,
                       nullptr));
    const auto width = e.GetItemInteger(kItemWidth).value_or(0), height = e.GetItemInteger(kItemHeight).value_or(0);
    if (width) step(tree->AddNumber("Statistics:Width", width, kFlagReadOnly, true, nullptr));
    if (height) step(tree->AddNumber("Statistics:Height", height, kFlagReadOnly, true, nullptr));
    if (auto compatibility = e.GetItemText(kItemCompatibility))
        step(tree->AddText("Statistics:Compatibility", compatibility->c_str(), kFlagReadOnly | kFlagPrivate, true,
                           nullptr));
    step(tree->AddFlag("Statistics:HasVideo", width && height ? 1 : 0, kFlagReadOnly, true, nullptr));
    if (facts.durationMs) step(stats->SetLength(facts.durationMs));
    if (facts.avgBitrate) step(stats->SetQuality(facts.avgBitrate));
    if (facts.channels) step(stats->SetChannels(facts.channels));
    if (fileSize_) step(stats->SetFileSize(StatisticValue(fileSize_)));
    if (auto url = e.GetItemText(kItemUrl1)) step(tree->AddText("Track:Custom 1", url->c_str(), 0, true, nullptr));
    if (auto url = e.GetItemText(kItemUrl2)) step(tree->AddText("Track:Custom 2", url->c_str(), 0, true, nullptr));
    if (Failed(step.result())) return step.result();

    ComPtr<IMPAMetaProperty> album;
    const auto cover = e.GetItemImage(kItemCover);
    if (cover && !cover->empty() && Succeeded(tree->FindFirstChild(kGroupAlbum, album.put())) && album) {
        ComPtr<IMPAMetaProperty> node;
        const uint8_t nul = 0;
        step(album->AddProperty("Cover Art", kTypeReference, kFlagReadOnly, &nul, 1, true, node.put()));
        if (node) {
            // The MIME type is named as the host has always been told, whatever the picture's format.
            step(node->AddText("MimeType", "image\\jpeg", kFlagType, true, nullptr));
            step(node->AddText("Extension", "", kFlagType, true, nullptr));
            step(node->AddNumber("DataSize", uint32_t(cover->size()), kFlagType, true, nullptr));
            step(node->AddNumber("SingleLine", 1, kFlagType, true, nullptr));
        }
    }
    step(stats->SetFilename(path_.c_str()));
    if (Failed(step.result())) return step.result();

    // A host without a media platform, or a file the platform cannot open, leaves them absent.
    const ComPtr<IMPAMetaProperty> borrowed = StatisticsOf(InterrogateGenerically(*this, path_.c_str()).get());
    for (const char* name : kBorrowedStatistics) CopyStatistic(borrowed.get(), tree, name);
    return TV_S_OK;
}

HRESULT CImportM4File::GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) {
    if (!IsCoverArt(property) || !editor_) return TV_E_NOTIMPL;
    const auto cover = editor_->GetItemImage(mp4::kItemCover);
    if (!cover || cover->empty() || cover->size() > size || !buffer) return TV_E_NOTIMPL;
    std::memcpy(buffer, cover->data(), cover->size());
    return TV_S_OK;
}

HRESULT CImportM4File::SavePropertyData(IMPAMetaProperty* property, const char* path) {
    if (!property) return TV_E_POINTER;
    if (!path || !*path) return TV_E_INVALIDARG;
    return Guard([&]() -> HRESULT {
        if (TypeOf(property) != kTypeReference || strcasecmp(PathOf(property).c_str(), "Album:Cover Art") != 0)
            return TV_E_NOTIMPL;
        if (!editor_) return TV_E_NOTLOADED;
        const auto cover = editor_->GetItemImage(mp4::kItemCover);
        if (!cover || cover->empty()) return TV_E_NOTIMPL;
        try {
            platform::WriteFileAtomically(path, *cover);
        } catch (const platform::FileError&) {
            return kCannotCreateOutput;
        }
        return TV_S_OK;
    });
}

// The host hands a string source here; nothing in this importer depends on it.
HRESULT CImportM4File::SetOption(uintptr_t, uintptr_t) { return TV_S_OK; }
HRESULT CImportM4File::SetOption2(uintptr_t, uintptr_t) { return TV_E_NOTIMPL; }
// No list of its own, as the host has always been told: the MIME types are found per file.
HRESULT CImportM4File::GetSupportedMimeTypes(char*, uint32_t*) { return TV_S_OK; }
HRESULT CImportM4File::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyListOut(kExtensions.view(), buffer, size);
}

HRESULT CreateImportM4File(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportM4File>(package, outer, out);
}

}  // namespace tagvera
