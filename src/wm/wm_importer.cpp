// CImportWMAFile: naming a file, interrogation and the on-demand picture.
#include "wm/wm_importer.h"

#include <cstdio>
#include <cstring>
#include <set>

#include "base/error.h"
#include "component/managed_component.h"
#include "metaprop/node_access.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tagvera/vocabulary.h"
#include "wm/wm_codes.h"
#include "wm/wm_sync_reader.h"

namespace tagvera {
namespace {

constexpr auto kMimeTypes =
    advertised::AsImporterList(advertised::kWindowsMediaMimeTypes, advertised::ListEnd::Separator);
constexpr auto kExtensions = advertised::AsImporterList(advertised::kWindowsMediaExtensions, advertised::ListEnd::Bare);

// Text the setters take: an attribute that is absent, or longer than 519 bytes, is skipped.
template <class Setter>
void SetText(HRESULT got, const std::string& value, Setter&& set) {
    if (Succeeded(got) && got != wm::kEmptyValue && value.size() + 1 <= 520) set(value.c_str());
}

std::string FourCC(uint32_t v) {
    std::string s;
    for (int i = 0; i < 4; ++i) s.push_back(char(v >> (8 * i)));
    return s;
}

}  // namespace

CImportWMAFile::~CImportWMAFile() = default;

HRESULT CImportWMAFile::OpenFile(const char* path, OpenForm) {
    if (!path) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        path_ = path;
        if (text::EqualsNoCase(platform::ExtensionOf(path_), ".wmv")) video_ = true;
        tree_.reset();
        loaded_ = false;
        editor_.Close();
        editor_.SetFileNameNarrow(path);
        writeReport_.clear();
        return TV_S_OK;
    });
}

HRESULT CImportWMAFile::Interrogate(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        if (!loaded_) {
            if (const HRESULT hr = editor_.Open(); Failed(hr)) return hr;
            ComPtr<IMPAMetaProperty> tree;
            if (const HRESULT hr = NewPropertyTree(classFactory(), tree); Failed(hr)) return hr;
            const HRESULT filled = Fill(tree.get());
            if (Failed(filled)) {
                editor_.Close();
                return filled;
            }
            editor_.ReadCoverArt(tree.get());
            editor_.Close();
            tree_ = std::move(tree);
            loaded_ = true;
        }
        return tree_->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
    });
}

HRESULT CImportWMAFile::Fill(IMPAMetaProperty* tree) {
    auto stats = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
    if (!stats) return TV_E_NOINTERFACE;
    FirstFailure step;
    step(stats->SetFilename(path_.c_str()));
    std::string extension = platform::ExtensionOf(path_);
    if (!extension.empty()) extension.erase(0, 1);
    video_ = editor_.HasVideo() == TV_S_OK;
    step(stats->SetMimeType(video_ ? "video/x-ms-wma" : "audio/x-ms-wma"));
    const auto text = [&](const char* name, const char* value) {
        step(tree->AddText(name, value, kFlagReadOnly, true, nullptr));
    };
    text("Statistics:Extension", video_ ? ".wmv" : ".wma");
    text("Statistics:FileFormat", video_ ? "WMV" : "WMA");
    text("Statistics:AudioCodecFourCC", "WMA");
    text("Statistics:FileExtension", extension.c_str());

    std::string value;
    SetText(editor_.GetTitle(&value), value, [&](const char* v) { step(stats->SetTitle(v)); });
    SetText(editor_.GetAuthor(&value), value, [&](const char* v) { step(stats->SetArtist(v)); });
    SetText(editor_.GetAlbumTitle(&value), value, [&](const char* v) { step(stats->SetAlbum(v)); });
    SetText(editor_.GetGenre(&value), value, [&](const char* v) { step(stats->SetGenre(v)); });
    SetText(editor_.GetCopyright(&value), value, [&](const char* v) { step(stats->SetCopyright(v)); });
    SetText(editor_.GetYear(&value), value, [&](const char* v) { step(stats->SetPublisher(v)); });
    SetText(editor_.GetDescription(&value), value, [&](const char* v) { step(stats->SetComments(v)); });
    SetText(editor_.GetPromotionURL(&value), value, [&](const char* v) { step(stats->SetClosedLoopMarketing(v)); });
    if (Succeeded(editor_.GetDuration(&duration_))) step(stats->SetLength(duration_));
    if (Succeeded(editor_.GetBitrate(&bitrate_))) step(stats->SetQuality(bitrate_));

    FillStreams(tree, stats.get());

    // Every attribute of stream 0 last, so that its figures stand over the streams' own.
    editor_.RewindAttributes();
    // A name's first value stands for it, as the setters above took it.
    std::set<std::string> seen;
    wm::CWMMetaProperty attribute;
    while (editor_.NextAttribute(&attribute) == TV_S_OK) {
        const std::string name = attribute.name().narrow();
        if (name == "WM/Picture" || !seen.insert(name).second) continue;  // the cover comes on demand
        attribute.AddToTree(tree);  // one the tree refuses (an empty name) costs only itself
    }
    return step.result();
}

void CImportWMAFile::FillStreams(IMPAMetaProperty* tree, IMPAFileProperties* stats) {
    wm::WMSyncReader reader;
    channels_ = 0;
    const bool opened = Succeeded(reader.Open(*editor_.header()));
    if (!opened || Failed(reader.FirstAudioChannels(&channels_))) {
        channels_ = bitrate_ < 10240 ? 1 : 2;
        if (bitrate_ >= 10240 && bitrate_ <= 32767) tree->AddFlag("Track:Reimport Metadata", 1, 0, true, nullptr);
    }
    stats->SetChannels(channels_);
    if (!opened) return;
    const auto number = [&](const char* name, uint32_t v) { tree->AddNumber(name, v, kFlagReadOnly, true, nullptr); };
    const auto flag = [&](const char* name, uint32_t v) { tree->AddFlag(name, v, kFlagReadOnly, true, nullptr); };
    for (uint32_t i = 0; i < reader.StreamCount(); ++i) {
        wm::StreamFormat f;
        if (Failed(reader.GetStreamFormat(i, &f))) continue;
        if (std::strcmp(f.majorType, "auds") == 0) {
            number("Statistics:AudioCodecTag", f.wave.formatTag);
            number("Statistics:Quality", uint32_t(uint64_t(f.wave.avgBytesPerSecond) * 8));
            number("Statistics:Channels", f.wave.channels);
            number("Statistics:SampleRate", f.wave.samplesPerSecond);
        } else if (std::strcmp(f.majorType, "vids") == 0) {
            flag("Statistics:HasVideo", 1);
            flag("Statistics:VideoVbr", f.fixedSizeSamples ? 0 : 1);
            tree->AddText("Statistics:VideoCodecFourCC", FourCC(f.video.compression).c_str(), kFlagReadOnly, true, nullptr);
            number("Statistics:VideoBitrate", f.video.bitRate);
            number("Statistics:Height", uint32_t(f.video.height));
            number("Statistics:Width", uint32_t(f.video.width));
            const uint64_t perFrame = f.video.avgTimePerFrame;
            number("Statistics:VideoFrameRate", perFrame ? StatisticValue(10000000ull * 1000 / perFrame) : 0);
        }
    }
}

template <class Use>
HRESULT CImportWMAFile::WithCoverArt(IMPAMetaProperty* property, Use&& use) {
    if (!property) return TV_E_POINTER;
    if (!text::EqualsNoCase(NameOf(property), "Cover Art")) return TV_E_NOTIMPL;
    return Guard([&]() -> HRESULT {
        if (const HRESULT hr = editor_.Open(); Failed(hr)) return hr;
        const HRESULT hr = use();
        editor_.Close();
        return hr;
    });
}

HRESULT CImportWMAFile::GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) {
    return WithCoverArt(property, [&] { return editor_.CopyCoverArt(buffer, size); });
}

HRESULT CImportWMAFile::SavePropertyData(IMPAMetaProperty* property, const char* path) {
    return WithCoverArt(property, [&] { return editor_.SaveCoverArtToFile(path); });
}

HRESULT CImportWMAFile::SetOption(uintptr_t, uintptr_t) { return TV_S_OK; }
HRESULT CImportWMAFile::SetOption2(uintptr_t, uintptr_t) { return TV_S_OK; }

HRESULT CImportWMAFile::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyListOut(kMimeTypes.view(), buffer, size);
}

HRESULT CImportWMAFile::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyListOut(kExtensions.view(), buffer, size);
}


HRESULT CreateImportWMAFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportWMAFile>(package, outer, out);
}

}  // namespace tagvera
