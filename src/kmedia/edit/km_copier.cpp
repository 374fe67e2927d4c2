#include "kmedia/edit/km_copier.h"

#include <algorithm>

namespace tagvera::kmedia {

HRESULT CKMCopier::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKMAKMFFCopy2) return Hand(static_cast<IKMAKMFFCopy2*>(this), out);
    if (iid == IID_IKMAKMFileHeader) return Hand(static_cast<IKMAKMFileHeader*>(this), out);
    return NoInterface(out);
}

HRESULT CKMCopier::AddInputFile(const char* path) {
    if (!path) return TV_E_POINTER;
    return Guard([&] {
        request_.inputs.emplace_back(path);
        return TV_S_OK;
    });
}

HRESULT CKMCopier::SetOutputFile(const char* path) {
    if (!path) return TV_E_POINTER;
    return Guard([&] {
        request_.output = path;
        return TV_S_OK;
    });
}

HRESULT CKMCopier::SetStartTime(uint32_t ms) {
    request_.startMs = ms;
    return TV_S_OK;
}

HRESULT CKMCopier::SetEndTime(uint32_t ms) {
    request_.endMs = ms;
    return TV_S_OK;
}

HRESULT CKMCopier::SetContent(const char* title, const char* author, const char* copyright, const char* comment) {
    return Guard([&] {
        const auto text = [](const char* s) { return std::string(s ? s : ""); };
        request_.content = ContentObject{.title = text(title), .author = text(author), .copyright = text(copyright),
                                         .comment = text(comment)};
        return TV_S_OK;
    });
}

HRESULT CKMCopier::SetFlags(uint16_t flags) {
    request_.flags = flags;
    return TV_S_OK;
}

HRESULT CKMCopier::SetOptions(IUnknown* options) {
    request_.options = ComPtr<IUnknown>::Share(options);
    return TV_S_OK;
}

HRESULT CKMCopier::SetFurtherOption(IUnknown*) { return TV_E_NOTIMPL; }

HRESULT CKMCopier::SetFileInfoValues(IKMAValues* values) {
    request_.fileInfo = ComPtr<IKMAValues>::Share(values);
    return TV_S_OK;
}

HRESULT CKMCopier::AddProgressSink(IKMAProgressSink* sink) {
    if (!sink) return TV_E_POINTER;
    return Guard([&] {
        request_.sinks.push_back(ComPtr<IKMAProgressSink>::Share(sink));
        return TV_S_OK;
    });
}

HRESULT CKMCopier::RemoveProgressSink(IKMAProgressSink* sink) {
    auto& sinks = request_.sinks;
    const auto it = std::find_if(sinks.begin(), sinks.end(), [&](const auto& s) { return s.get() == sink; });
    if (it == sinks.end()) return TV_E_INVALIDARG;
    sinks.erase(it);
    return TV_S_OK;
}

HRESULT CKMCopier::SetFileVersion(uint32_t version) {
    request_.fileVersion = version;
    return TV_S_OK;
}

HRESULT PassRequest(const KmCopyRequest& r, IKMAKMFFCopy2* to) {
    HRESULT hr = TV_S_OK;
    const auto step = [&](HRESULT next) {
        if (Succeeded(hr)) hr = next;
    };
    if (r.options) step(to->SetOptions(r.options.get()));
    if (r.fileInfo) step(to->SetFileInfoValues(r.fileInfo.get()));
    for (const auto& s : r.sinks) step(to->AddProgressSink(s.get()));
    for (const auto& in : r.inputs) step(to->AddInputFile(in.c_str()));
    step(to->SetOutputFile(r.output.c_str()));
    // A time range cuts one file; joined files are copied whole.
    const bool single = r.inputs.size() == 1;
    step(to->SetStartTime(single ? r.startMs : 0));
    step(to->SetEndTime(single ? r.endMs : 0));
    if (const auto& c = r.content)
        step(to->SetContent(c->title.c_str(), c->author.c_str(), c->copyright.c_str(), c->comment.c_str()));
    if (r.flags) step(to->SetFlags(*r.flags));
    if (r.fileVersion) {
        const auto header = QueryAs<IKMAKMFileHeader>(to, IID_IKMAKMFileHeader);
        step(header ? header->SetFileVersion(*r.fileVersion) : TV_E_NOINTERFACE);
    }
    return hr;
}

HRESULT ReportProgress(const KmCopyRequest& request, uint32_t percent) {
    for (const auto& s : request.sinks)
        if (const HRESULT hr = s->OnProgress(percent); Failed(hr)) return hr;
    return TV_S_OK;
}

}  // namespace tagvera::kmedia
