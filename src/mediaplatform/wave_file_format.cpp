#include "mediaplatform/wave_file_format.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "mediaplatform/file_format_base.h"
#include "mediaplatform/host_values.h"
#include "mediaplatform/wave_header.h"
#include "tagvera/com_ptr.h"

namespace tagvera::mediaplatform {
namespace {

constexpr PluginRow kWavePlugins[] = {{"WAV", "wav", "wav"}};

class WaveFileFormat final : public FileFormatBase {
public:
    explicit WaveFileFormat(IKMAClassFactory* factory) : factory_(ComPtr<IKMAClassFactory>::Share(factory)) {}

    HRESULT TV_STDCALL InitFileFormat(IKMAValues*, IKMAFormatResponse* response, IUnknown* fileObject) override {
        if (!response || !fileObject) return TV_E_POINTER;
        response_ = ComPtr<IKMAFormatResponse>::Share(response);
        file_ = QueryAs<IKMAFileObject>(fileObject, IID_IKMAFileObject);
        if (!file_) return TV_E_NOINTERFACE;
        // A file that is no WAVE file still finishes initialising: it is the header that fails.
        try {
            header_ = ReadWaveHeader(file_.get());
        } catch (...) {
            header_.reset();
        }
        Post([](IKMAFormatResponse* r) { r->InitDone(TV_S_OK); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetFileHeader() override {
        if (!response_) return TV_E_NOTLOADED;
        if (!header_) {
            Post([](IKMAFormatResponse* r) { r->FileHeaderReady(TV_E_FAIL, nullptr); });
            return TV_S_OK;
        }
        ComPtr<IKMAValues> values = NewValues(factory_.get());
        if (!values) return TV_E_OUTOFMEMORY;
        uint64_t bytesRead = 0;
        file_->GetBytesRead(&bytesRead);
        values->SetNumberValue("StreamCount", 1);
        values->SetNumberValue("StartTime", 0);
        values->SetNumberValue("Duration", header_->DurationMilliseconds());
        values->SetNumberValue("BytesRead", static_cast<uint32_t>(std::min<uint64_t>(bytesRead, UINT32_MAX)));
        const std::pair<const char*, const std::string*> kTexts[] = {
            {"Title", &header_->title}, {"Artist", &header_->artist}, {"Copyright", &header_->copyright}};
        for (const auto& [name, text] : kTexts)
            if (!text->empty()) SetString(factory_.get(), values.get(), name, *text);
        Post([values](IKMAFormatResponse* r) { r->FileHeaderReady(TV_S_OK, values.get()); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetStreamHeader(uint16_t stream) override {
        if (!response_ || !header_) return TV_E_NOTLOADED;
        if (stream != 0) return TV_E_INVALIDARG;
        ComPtr<IKMAValues> values = NewValues(factory_.get());
        if (!values) return TV_E_OUTOFMEMORY;
        if (const HRESULT hr = SetString(factory_.get(), values.get(), "MimeType", "audio/x-wav"); Failed(hr)) return hr;
        values->SetNumberValue("StartTime", 0);
        values->SetNumberValue("Duration", header_->DurationMilliseconds());
        values->SetNumberValue("AvgBitrate", static_cast<uint32_t>(std::min<uint64_t>(uint64_t(header_->byteRate) * 8, UINT32_MAX)));
        values->SetNumberValue("Channels", header_->channels);
        Post([values](IKMAFormatResponse* r) { r->StreamHeaderReady(TV_S_OK, values.get()); });
        return TV_S_OK;
    }

    HRESULT TV_STDCALL Close() override {
        response_.reset();
        file_.reset();
        header_.reset();
        return TV_S_OK;
    }

private:
    ComPtr<IKMAClassFactory> factory_;
    ComPtr<IKMAFileObject> file_;
    std::optional<WaveHeader> header_;
};

}  // namespace

std::span<const PluginRow> WavePlugins() { return kWavePlugins; }

HRESULT NewWaveFileFormat(IKMAClassFactory* factory, const PluginRow&, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* format = new (std::nothrow) WaveFileFormat(factory);
    if (!format) return TV_E_OUTOFMEMORY;
    *out = static_cast<IKMAFileFormat*>(format);
    return TV_S_OK;
}

}  // namespace tagvera::mediaplatform
