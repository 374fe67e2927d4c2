#include "interrogate/interrogate_plugin.h"

#include <algorithm>

#include "base/error.h"
#include "component/managed_component.h"
#include "interrogate/header_values.h"
#include "interrogate/interrogate_codes.h"
#include "interrogate/platform_wait.h"
#include "interrogate/stream_summary.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/file.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

using interrogate::kNotOpened;

constexpr auto kMimeTypes = advertised::AsImporterList(advertised::kInterrogateMimeTypes, advertised::ListEnd::Bare);
constexpr auto kExtensions = advertised::AsImporterList(advertised::kInterrogateExtensions, advertised::ListEnd::Bare);

// A header may claim any number of streams; no file has more than this.
constexpr uint32_t kMostStreams = 1024;

HRESULT CopyList(std::string_view list, char* buffer, uint32_t* size) {
    if (!size) return TV_E_INVALIDARG;
    return CopyListOut(list, buffer, size);
}

// The request values: every kind of meta information is welcome.
ComPtr<IKMAValues> NewRequest(IKMAMediaPlatform* platform) {
    ComPtr<IKMABuffer> any;
    ComPtr<IKMAValues> request;
    if (Failed(platform->CreateObject(CLSID_CZNBuffer, IID_IKMABuffer, any.putVoid())) || !any) return nullptr;
    if (Failed(platform->CreateObject(CLSID_CZNHeader, IID_IKMAValues, request.putVoid())) || !request) return nullptr;
    static constexpr uint8_t kStar[] = "*";
    if (Failed(any->Set(kStar, sizeof kStar)) || Failed(request->SetStringValue("AcceptMetaInfo", any.get())))
        return nullptr;
    return request;
}

bool IsPseudoFile(IKMAPluginHandler* handler, uint32_t index) {
    ComPtr<IKMAValues> properties;
    if (Failed(handler->GetPluginProperties(index, properties.put())) || !properties) return false;
    return interrogate::HeaderNumber(properties.get(), "IsPseudoFile").value_or(0) != 0;
}

uint32_t CountCandidates(IKMAPluginHandler* handler, const char* extension) {
    uint32_t count = 0;
    for (uint32_t next = 0, found = 0;
         Succeeded(handler->FindPluginByStrings("PluginType", kPluginTypeFileFormat, "FileExtensions", extension, next,
                                                &found));
         next = found + 1)
        ++count;
    return count;
}

}  // namespace

KMAInterrogatePlugin::~KMAInterrogatePlugin() { Forget(); }

HRESULT KMAInterrogatePlugin::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
    if (iid == IID_IMPAInterrogateFile) return Hand(static_cast<IMPAInterrogateFile*>(this), out);
    if (iid == IID_IMPAInterrogateLite) return Hand(static_cast<IMPAInterrogateLite*>(this), out);
    if (iid == IID_IKMAFileSystemManagerResponse) return Hand(static_cast<IKMAFileSystemManagerResponse*>(this), out);
    return NoInterface(out);
}

HRESULT KMAInterrogatePlugin::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyList(kMimeTypes.view(), buffer, size);
}
HRESULT KMAInterrogatePlugin::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyList(kExtensions.view(), buffer, size);
}

void KMAInterrogatePlugin::Forget() {
    if (proxy_) {
        proxy_->Detach();
        proxy_->Release();
        proxy_ = nullptr;
    }
    fileObject_.reset();
    fileHeader_.reset();
    streamHeaders_.clear();
    initDone_ = headerArrived_ = false;
    headerStatus_ = TV_E_NOTLOADED;
    endTime_ = 0;
}

HRESULT KMAInterrogatePlugin::FileObjectReady(HRESULT status, IUnknown* fileObject) {
    fileObject_ = Succeeded(status) ? ComPtr<IUnknown>::Share(fileObject) : nullptr;
    return TV_S_OK;
}

void KMAInterrogatePlugin::OnFileHeader(HRESULT status, IKMAValues* header) {
    headerArrived_ = true;
    headerStatus_ = status;
    if (Failed(status) || !header) return;
    fileHeader_ = ComPtr<IKMAValues>::Share(header);
    endTime_ = std::max(endTime_, interrogate::HeaderEndTime(header));
}

void KMAInterrogatePlugin::OnStreamHeader(HRESULT status, IKMAValues* header) {
    if (Failed(status) || !header) return;
    streamHeaders_.push_back(ComPtr<IKMAValues>::Share(header));
    endTime_ = std::max(endTime_, interrogate::HeaderEndTime(header));
}

HRESULT KMAInterrogatePlugin::OpenFile(const char* path, OpenForm form) {
    if (form == OpenForm::Light) return TV_E_NOTIMPL;
    if (!path) return TV_E_INVALIDARG;
    const HRESULT hr = Guard([&] { return Open(path); });
    // A file refused half way gives no statistics from what was delivered before.
    if (Failed(hr)) Forget();
    return hr;
}

void KMAInterrogatePlugin::EndAttempt(IKMAFileFormat* format) {
    if (format) format->Close();
    if (proxy_) {
        proxy_->Detach();
        proxy_->Release();
        proxy_ = nullptr;
    }
    fileObject_.reset();
}

HRESULT KMAInterrogatePlugin::TryPlugin(IKMAMediaPlatform* platform, IKMAPluginHandler* handler, uint32_t index,
                                        IKMAFileFormat** opened) {
    *opened = nullptr;
    if (IsPseudoFile(handler, index)) return kNotOpened;
    ComPtr<IKMAFileSystemManager> files;
    if (Failed(platform->CreateObject(CLSID_KMAFileSystemManager, IID_IKMAFileSystemManager, files.putVoid())) || !files)
        return kNotOpened;
    const ComPtr<IKMAValues> request = NewRequest(platform);
    if (!request) return kNotOpened;
    const std::string url = "file://" + path_;
    if (Failed(files->Init(this)) || Failed(files->GetFileObject(url.c_str())) || !fileObject_) return kNotOpened;

    ComPtr<IUnknown> plugin;
    if (Failed(handler->GetPlugin(index, plugin.put())) || !plugin) return kNotOpened;
    auto format = QueryAs<IKMAFileFormat>(plugin, IID_IKMAFileFormat);
    if (!format) return kNotOpened;
    proxy_ = new interrogate::FmtProxy(this);
    initDone_ = headerArrived_ = false;
    headerStatus_ = TV_E_NOTLOADED;
    const bool initialised = Succeeded(format->InitFileFormat(request.get(), proxy_, fileObject_.get())) &&
                             interrogate::WaitForNotification(platform, [&] { return initDone_; });
    if (!initialised || Failed(format->GetFileHeader())) {
        EndAttempt(format.get());
        return kNotOpened;
    }
    interrogate::WaitForNotification(platform, [&] { return headerArrived_; });
    if (Failed(headerStatus_) || !fileHeader_) {
        EndAttempt(format.get());
        return TV_S_FALSE;
    }
    *opened = format.detach();
    return TV_S_OK;
}

HRESULT KMAInterrogatePlugin::ReadStreamHeaders(IKMAMediaPlatform* platform, IKMAFileFormat* format) {
    const auto count = interrogate::HeaderNumber(fileHeader_.get(), "StreamCount");
    if (!count) return kNotOpened;
    const uint32_t wanted = std::min(*count, kMostStreams);
    for (uint32_t i = 0; i < wanted; ++i)
        if (Failed(format->GetStreamHeader(uint16_t(i)))) return kNotOpened;
    // The headers come as notifications; those that do not come in time are left out.
    interrogate::WaitForNotification(platform, [&] { return streamHeaders_.size() >= wanted; });
    return TV_S_OK;
}

HRESULT KMAInterrogatePlugin::Open(const char* path) {
    Forget();
    auto platform = QueryAs<IKMAMediaPlatform>(classFactory(), IID_IKMAMediaPlatform);
    if (!platform) return kNotOpened;
    path_ = path;
    const std::string dotted = platform::ExtensionOf(path_);
    if (dotted.empty()) return kNotOpened;
    const std::string extension = dotted.substr(1);
    ComPtr<IKMAPluginHandler> handler;
    if (Failed(platform->GetPluginHandler(handler.put())) || !handler) return kNotOpened;

    const uint32_t candidates = CountCandidates(handler.get(), extension.c_str());
    ComPtr<IKMAFileFormat> format;
    for (uint32_t attempts = 0, next = 0; !format; next++) {
        uint32_t index = 0;
        if (attempts >= candidates ||
            Failed(handler->FindPluginByStrings("PluginType", kPluginTypeFileFormat, "FileExtensions",
                                                extension.c_str(), next, &index)))
            return kNotOpened;
        ++attempts;
        next = index;
        const HRESULT tried = TryPlugin(platform.get(), handler.get(), index, format.put());
        if (Failed(tried)) return tried;
    }
    const HRESULT read = ReadStreamHeaders(platform.get(), format.get());
    EndAttempt(format.get());
    return read;
}

HRESULT KMAInterrogatePlugin::Interrogate(IMPAMetaProperty** out) {
    if (!out) return TV_E_FAIL;
    *out = nullptr;
    if (!classFactory()) return TV_E_FAIL;
    return Guard([&] { return Fill(out); });
}

HRESULT KMAInterrogatePlugin::Fill(IMPAMetaProperty** out) {
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(NewPropertyTree(classFactory(), tree))) return TV_E_FAIL;
    auto stats = QueryAs<IMPAFileProperties>(tree.get(), IID_IMPAFileProperties);
    if (!stats) return TV_E_FAIL;
    if (endTime_) stats->SetLength(StatisticValue(endTime_));
    if (!fileHeader_) return TV_E_FAIL;
    if (auto title = interrogate::HeaderText(fileHeader_.get(), "Title")) stats->SetTitle(title->c_str());
    if (auto artist = interrogate::HeaderText(fileHeader_.get(), "Artist")) stats->SetArtist(artist->c_str());
    if (auto copyright = interrogate::HeaderText(fileHeader_.get(), "Copyright")) stats->SetCopyright(copyright->c_str());

    const uint32_t declared = interrogate::HeaderNumber(fileHeader_.get(), "StreamCount").value_or(0);
    const size_t counted = std::min<size_t>(declared, streamHeaders_.size());
    const interrogate::StreamSummary summary =
        interrogate::SummariseStreams(std::span(streamHeaders_).first(counted));

    ComPtr<IMPAMetaProperty> statistics;
    if (Failed(tree->FindFirstChild(kGroupStatistics, statistics.put())) || !statistics)
        if (Failed(tree->AddGroup(kGroupStatistics, 0, false, statistics.put())) || !statistics) return TV_E_FAIL;
    FirstFailure step;
    if (summary.width) step(statistics->AddNumber("Width", summary.width, kFlagReadOnly, true, nullptr));
    if (summary.height) step(statistics->AddNumber("Height", summary.height, kFlagReadOnly, true, nullptr));
    if (summary.hasVideo()) step(statistics->AddFlag("HasVideo", 1, kFlagReadOnly | kFlagPrivate, true, nullptr));
    step(stats->SetChannels(summary.channels));
    step(stats->SetQuality(summary.bitRateSum));
    try {
        step(stats->SetFileSize(StatisticValue(platform::FileSize(path_))));
    } catch (const platform::FileError&) {
        // A file gone since it was opened has no size to give.
    }
    constexpr uint32_t kHidden = kFlagReadOnly | kFlagPrivate;
    if (!summary.videoMimeTypes.empty())
        step(statistics->AddText("VideoMimeTypes", summary.videoMimeTypes.c_str(), kHidden, true, nullptr));
    if (!summary.audioMimeTypes.empty())
        step(statistics->AddText("AudioMimeTypes", summary.audioMimeTypes.c_str(), kHidden, true, nullptr));
    if (const std::string extension = platform::ExtensionOf(path_); !extension.empty()) {
        step(statistics->AddText("Filename", path_.c_str(), kFlagReadOnly, true, nullptr));
        const std::string shown = interrogate::ExtensionStatistic(extension, summary.hasVideo());
        step(statistics->AddText("Extension", shown.c_str(), kHidden, true, nullptr));
    }
    if (Failed(step.result())) return step.result();
    return tree->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
}

HRESULT CreateInterrogatePlugin(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<KMAInterrogatePlugin>(package, outer, out);
}

}  // namespace tagvera
