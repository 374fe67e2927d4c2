#include "kmedia/edit/km_ff3_copy.h"

#include "kmedia/edit/km_ff2_reader.h"
#include "kmedia/edit/stream_compatibility.h"
#include "kmedia/km_edit.h"

namespace tagvera::kmedia {
namespace {

HRESULT Open(const std::string& path, ComPtr<CKMFF2Reader>& reader) {
    if (const HRESULT hr = NewKmReader(reader.put()); Failed(hr)) return hr;
    return reader->Open(path.c_str());
}

// The request applied to the engine over the first input's headers (as its reader read them): what
// is not set stays as it was.
HRESULT Configure(KmEditEngine& engine, const KmHeaders& first, const KmCopyRequest& r, uint32_t endMs) {
    if (const HRESULT hr = engine.SetInputHeaders(r.inputs.front(), first, true); Failed(hr)) return hr;
    for (size_t i = 1; i < r.inputs.size(); ++i)
        if (const HRESULT hr = engine.AddInputFile(r.inputs[i]); Failed(hr)) return hr;
    if (const auto& c = r.content) {
        engine.SetTitle(c->title);
        // The texts beside the title keep their limit of 255 bytes here too.
        for (const HRESULT hr :
             {engine.SetAuthor(c->author), engine.SetCopyright(c->copyright), engine.SetComment(c->comment)})
            if (Failed(hr)) return hr;
    }
    if (r.flags)
        for (const auto flag : {KmEditEngine::kFlag1, KmEditEngine::kFlag2, KmEditEngine::kFlag8})
            engine.SetFileFlag(flag, (*r.flags & flag) != 0);
    if (r.fileInfo)
        if (const HRESULT hr = engine.SetFileInfoValues(r.fileInfo.get()); Failed(hr)) return hr;
    engine.SetStartTime(r.startMs);
    engine.SetEndTime(endMs);
    if (r.fileVersion) engine.SetFileVersion(*r.fileVersion);
    return engine.SetOutputFile(r.output);
}

}  // namespace

HRESULT CKMFF3Copy::Run() {
    const KmCopyRequest& r = request_;
    if (r.inputs.empty()) return TV_KM_E_NOINPUT;
    return Guard([&]() -> HRESULT {
        ComPtr<CKMFF2Reader> first;
        if (const HRESULT hr = Open(r.inputs.front(), first); Failed(hr)) return hr;
        for (size_t i = 1; i < r.inputs.size(); ++i) {
            ComPtr<CKMFF2Reader> next;
            if (const HRESULT hr = Open(r.inputs[i], next); Failed(hr)) return hr;
            if (!StreamsCompatible(first->StreamHeaders(), next->StreamHeaders())) return TV_E_FAIL;
        }
        const bool joined = r.inputs.size() > 1;
        uint32_t endMs = r.endMs;
        if (!joined) {
            uint32_t duration = 0;
            first->GetDuration(&duration);
            // An end at or past the duration, or none, copies to the end of the file.
            if (endMs >= duration) endMs = 0;
        }
        KmEditEngine engine;
        if (const HRESULT hr = Configure(engine, *first->Headers(), r, endMs); Failed(hr)) return hr;
        first->Close();
        if (const HRESULT hr = ReportProgress(r, 50); Failed(hr)) return hr;
        if (const HRESULT hr = engine.Save(); Failed(hr)) return hr;
        return ReportProgress(r, 100);
    });
}

}  // namespace tagvera::kmedia
