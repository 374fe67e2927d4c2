#include "kmedia/edit/km_edit_object.h"

#include <algorithm>

#include "component/value_objects.h"
#include "kmedia/codec_headers.h"
#include "kmedia/edit/clip_identity.h"
#include "kmedia/edit/time_text.h"
#include "kmedia/edit/tools_dll.h"
#include "kmedia/file_info_values.h"
#include "kmedia/mime_types.h"
#include "package/importer_kit/list_copy.h"

namespace tagvera::kmedia {
namespace {

HRESULT Flag(uint32_t* on, bool value) {
    if (!on) return TV_E_POINTER;
    *on = value ? 1 : 0;
    return TV_S_OK;
}

HRESULT Number(uint32_t* out, uint32_t value) {
    if (!out) return TV_E_POINTER;
    *out = value;
    return TV_S_OK;
}

}  // namespace

HRESULT CKMEdit::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKMAKMEdit3 || iid == IID_IKMAKMEdit) return Hand(static_cast<IKMAKMEdit3*>(this), out);
    if (iid == IID_IKMAKMEdit2) return Hand(static_cast<IKMAKMEdit2*>(this), out);
    if (iid == IID_IKMAKMFileHeader) return Hand(static_cast<IKMAKMFileHeader*>(this), out);
    return NoInterface(out);
}

HRESULT CKMEdit::GetNumStreamHeaders(uint32_t* count) {
    return reader_ ? reader_->GetNumStreamHeaders(count) : TV_E_FAIL;
}

HRESULT CKMEdit::CheckTimeText(const char* text, uint32_t* ms) {
    const auto time = text ? ParseTimeText(text) : std::nullopt;
    if (!time) return TV_KM_E_BADTIMETEXT;
    if (ms) *ms = *time;
    return TV_S_OK;
}

HRESULT CKMEdit::SetTitle(const char* text) { return Guard([&] { return engine_.SetTitle(text ? text : ""); }); }
HRESULT CKMEdit::SetAuthor(const char* text) { return Guard([&] { return engine_.SetAuthor(text ? text : ""); }); }
HRESULT CKMEdit::SetCopyright(const char* text) {
    return Guard([&] { return engine_.SetCopyright(text ? text : ""); });
}
HRESULT CKMEdit::SetComment(const char* text) { return Guard([&] { return engine_.SetComment(text ? text : ""); }); }

HRESULT CKMEdit::SetFlag1(uint32_t on) {
    engine_.SetFileFlag(KmEditEngine::kFlag1, on != 0);
    return TV_S_OK;
}
HRESULT CKMEdit::SetFlag8(uint32_t on) {
    engine_.SetFileFlag(KmEditEngine::kFlag8, on != 0);
    return TV_S_OK;
}
HRESULT CKMEdit::SetFlag2(uint32_t on) {
    engine_.SetFileFlag(KmEditEngine::kFlag2, on != 0);
    return TV_S_OK;
}

HRESULT CKMEdit::SetStartTimeText(const char* text) { return CheckTimeText(text, &startMs_); }
HRESULT CKMEdit::SetStartTime(uint32_t) { return TV_S_OK; }
HRESULT CKMEdit::SetEndTimeText(const char* text) { return CheckTimeText(text, &endMs_); }
HRESULT CKMEdit::SetEndTime(uint32_t ms) {
    endMs_ = ms;
    return TV_S_OK;
}

HRESULT CKMEdit::SetInputFile(const char* path, uint32_t readHeaders) {
    if (!path) return TV_E_POINTER;
    reader_.reset();
    return Guard([&]() -> HRESULT {
        input_ = path;
        if (!readHeaders) return TV_S_OK;
        ComPtr<CKMFF2Reader> reader;
        if (const HRESULT hr = NewKmReader(reader.put()); Failed(hr)) return hr;
        if (const HRESULT hr = reader->Open(path); Failed(hr)) return hr;
        // The engine loads the content strings, flags and file-info properties it keeps from what
        // the reader has read.
        if (!reader->Headers()) return TV_E_FAIL;
        if (const HRESULT hr = engine_.SetInputHeaders(path, *reader->Headers(), true); Failed(hr)) return hr;
        // Texts the setters would refuse are not taken from the file either.
        for (auto [get, set] : {std::pair{&KmEditEngine::Author, &KmEditEngine::SetAuthor},
                                {&KmEditEngine::Copyright, &KmEditEngine::SetCopyright},
                                {&KmEditEngine::Comment, &KmEditEngine::SetComment}}) {
            const std::string text = (engine_.*get)();
            (engine_.*set)("");
            (engine_.*set)(text);
        }
        reader_ = std::move(reader);
        return TV_S_OK;
    });
}

HRESULT CKMEdit::AddInputFile(const char* path) {
    if (!path) return TV_E_POINTER;
    return Guard([&] {
        moreInputs_.emplace_back(path);
        return TV_S_OK;
    });
}

HRESULT CKMEdit::SetOutputFile(const char* path) {
    if (!path) return TV_E_POINTER;
    return Guard([&] {
        output_ = path;
        return TV_S_OK;
    });
}

HRESULT CKMEdit::GetTitle(char* buffer, uint32_t* size) { return CopyListOut(engine_.Title(), buffer, size); }
HRESULT CKMEdit::GetAuthor(char* buffer, uint32_t* size) { return CopyListOut(engine_.Author(), buffer, size); }
HRESULT CKMEdit::GetCopyright(char* buffer, uint32_t* size) { return CopyListOut(engine_.Copyright(), buffer, size); }
HRESULT CKMEdit::GetComment(char* buffer, uint32_t* size) { return CopyListOut(engine_.Comment(), buffer, size); }
HRESULT CKMEdit::GetFlag1(uint32_t* on) { return Flag(on, engine_.GetFileFlag(KmEditEngine::kFlag1)); }
HRESULT CKMEdit::GetFlag8(uint32_t* on) { return Flag(on, engine_.GetFileFlag(KmEditEngine::kFlag8)); }
HRESULT CKMEdit::GetFlag2(uint32_t* on) { return Flag(on, engine_.GetFileFlag(KmEditEngine::kFlag2)); }
HRESULT CKMEdit::GetStartTime(uint32_t* ms) { return Number(ms, startMs_); }
HRESULT CKMEdit::GetEndTime(uint32_t* ms) { return Number(ms, endMs_); }
HRESULT CKMEdit::GetDuration(uint32_t* ms) { return Number(ms, reader_ ? engine_.DurationMs() : 0); }
HRESULT CKMEdit::GetInputFile(char* buffer, uint32_t* size) { return CopyListOut(input_, buffer, size); }
HRESULT CKMEdit::GetOutputFile(char* buffer, uint32_t* size) { return CopyListOut(output_, buffer, size); }

HRESULT CKMEdit::SetOptions(IUnknown* options) {
    options_ = ComPtr<IUnknown>::Share(options);
    return TV_S_OK;
}

HRESULT CKMEdit::ClearOptions(IUnknown* options) {
    if (options_.get() == options) options_.reset();
    return TV_S_OK;
}

HRESULT CKMEdit::CreateBuffer(IKMABuffer** buffer) {
    if (!buffer) return TV_E_POINTER;
    *buffer = nullptr;
    return Guard([&] { return NewBuffer(buffer); });
}

HRESULT CKMEdit::BuildCopier(IKMAKMFFCopy2* copier) {
    HRESULT hr = TV_S_OK;
    const auto step = [&](HRESULT next) {
        if (Succeeded(hr)) hr = next;
    };
    step(copier->AddInputFile(input_.c_str()));
    for (const auto& in : moreInputs_) step(copier->AddInputFile(in.c_str()));
    step(copier->SetOutputFile(output_.c_str()));
    if (options_) step(copier->SetOptions(options_.get()));
    for (const auto& s : sinks_) step(copier->AddProgressSink(s.get()));
    std::vector<NameValueProperty> info = engine_.FileInfo();
    ApplyClipIdentityRule(info, true);
    ComPtr<IKMAValues> values;
    step(FileInfoToValues(info, values.put()));
    if (values) step(copier->SetFileInfoValues(values.get()));
    step(copier->SetContent(engine_.Title().c_str(), engine_.Author().c_str(), engine_.Copyright().c_str(),
                            engine_.Comment().c_str()));
    uint16_t flags = 0;
    for (const auto f : {KmEditEngine::kFlag1, KmEditEngine::kFlag8, KmEditEngine::kFlag2})
        if (engine_.GetFileFlag(f)) flags = static_cast<uint16_t>(flags | f);
    step(copier->SetFlags(flags));
    step(copier->SetStartTime(startMs_));
    step(copier->SetEndTime(endMs_));
    if (fileVersion_) {
        const auto header = QueryAs<IKMAKMFileHeader>(copier, IID_IKMAKMFileHeader);
        step(header ? header->SetFileVersion(*fileVersion_) : TV_E_NOINTERFACE);
    }
    return hr;
}

HRESULT CKMEdit::Save() {
    if (input_.empty() || output_.empty()) return TV_E_NOTLOADED;
    return Guard([&]() -> HRESULT {
        ComPtr<IKMAKMFFCopy2> copier;
        if (const HRESULT hr = CToolsDLL::CreateCopier(copier.put()); Failed(hr)) return hr;
        HRESULT hr = BuildCopier(copier.get());
        if (Succeeded(hr)) hr = copier->Run();
        for (const auto& s : sinks_) copier->RemoveProgressSink(s.get());
        return hr;
    });
}

HRESULT CKMEdit::AddProgressSink(IKMAProgressSink* sink) {
    if (!sink) return TV_E_POINTER;
    return Guard([&] {
        sinks_.push_back(ComPtr<IKMAProgressSink>::Share(sink));
        return TV_S_OK;
    });
}

HRESULT CKMEdit::RemoveProgressSink(IKMAProgressSink* sink) {
    const auto it = std::find_if(sinks_.begin(), sinks_.end(), [&](const auto& s) { return s.get() == sink; });
    if (it == sinks_.end()) return TV_E_INVALIDARG;
    sinks_.erase(it);
    return TV_S_OK;
}

HRESULT CKMEdit::HasStream(std::string_view mime, std::string_view multirate) {
    if (!reader_) return TV_E_NOTLOADED;
    for (const auto* s : reader_->StreamHeaders())
        if (EqualsNoCase(s->mimeType, mime) || EqualsNoCase(s->mimeType, multirate)) return TV_S_OK;
    return TV_S_FALSE;
}

HRESULT CKMEdit::HasAudio() { return HasStream("audio/x-zn-korvaaudio", "audio/x-zn-multirate-korvaaudio"); }
HRESULT CKMEdit::HasVideo() { return HasStream("video/x-zn-korvavideo", "video/x-zn-multirate-korvavideo"); }
HRESULT CKMEdit::HasEvents() {
    return HasStream("application/x-zn-korvaevent", "application/x-zn-multirate-korvaevent");
}
HRESULT CKMEdit::HasImageMap() { return HasStream("application/x-zn-imagemap", "application/x-zn-multirate-imagemap"); }

const MediaPropertiesObject* CKMEdit::FirstVideo() const {
    if (!reader_) return nullptr;
    for (const auto* s : reader_->StreamHeaders())
        if (ClassifyMimeType(s->mimeType) == StreamKind::Video) return s;
    return nullptr;
}

HRESULT CKMEdit::GetVideoSize(uint32_t* width, uint32_t* height) {
    if (!width || !height) return TV_E_POINTER;
    const MediaPropertiesObject* video = FirstVideo();
    if (!video) return TV_E_NOTLOADED;
    return Guard([&] {
        const VideoFormat format = VideoFormat::Read(video->typeSpecific);
        *width = format.width;
        *height = format.height;
        return TV_S_OK;
    });
}

HRESULT CKMEdit::GetVideoBitRate(uint32_t* bitRate) {
    const MediaPropertiesObject* video = FirstVideo();
    if (!video) return bitRate ? TV_E_NOTLOADED : TV_E_POINTER;
    return Number(bitRate, video->maxBitRate);
}

HRESULT CKMEdit::SetFileVersion(uint32_t version) {
    fileVersion_ = version;
    return TV_S_OK;
}

HRESULT CreateKmEdit(IKMAKMEdit3** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    ComPtr<IUnknown> object;
    if (const HRESULT hr = CreateObject<CKMEdit>(nullptr, object.put()); Failed(hr)) return hr;
    return object->QueryInterface(IID_IKMAKMEdit3, reinterpret_cast<void**>(out));
}

}  // namespace tagvera::kmedia
