#include "kmedia/edit/km_ff_copy.h"

#include <algorithm>

#include "kmedia/edit/km_ff2_reader.h"
#include "kmedia/edit/tools_dll.h"
#include "platform/file.h"
#include "platform/safe_write.h"

namespace tagvera::kmedia {
namespace {

// An existing output must open for writing; a new one must be creatable, and is removed again.
bool OutputCreatable(const std::string& path) {
    try {
        platform::File existing(path, platform::OpenMode::ReadWrite);
        return true;
    } catch (const std::exception&) {
    }
    try {
        platform::WriteFileAtomically(path, {});
        platform::RemoveFile(path);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

HRESULT CKMFFCopy::Run() {
    const KmCopyRequest& r = request_;
    if (r.inputs.empty()) return TV_KM_E_NOINPUT;
    if (r.output.empty()) return TV_KM_E_NOOUTPUT;
    return Guard([&]() -> HRESULT {
        if (!OutputCreatable(r.output)) return TV_KM_E_OUTPUTNOTCREATABLE;
        if (r.endMs != 0 && r.endMs <= r.startMs) return TV_KM_E_ENDBEFORESTART;
        if (std::find(r.inputs.begin(), r.inputs.end(), r.output) != r.inputs.end()) return TV_KM_E_OUTPUTISINPUT;
        if (r.inputs.front().empty()) return TV_E_NOTLOADED;
        uint32_t kind = 0;
        {
            ComPtr<IKMAKMFF4Reader> reader;
            if (const HRESULT hr = CToolsDLL::CreateReader(reader.put()); Failed(hr)) return hr;
            if (const HRESULT hr = reader->Open(r.inputs.front().c_str()); Failed(hr)) return hr;
            reader->GetFileKind(&kind);
        }
        if (kind != 1 && kind != 2) return TV_KM_E_UNSUPPORTED;
        ComPtr<IKMAKMFFCopy2> copier;
        if (const HRESULT hr = CToolsDLL::CreateDirectCopier(copier.put()); Failed(hr)) return hr;
        HRESULT hr = PassRequest(r, copier.get());
        if (Succeeded(hr)) hr = copier->Run();
        for (const auto& s : r.sinks) copier->RemoveProgressSink(s.get());
        return hr;
    });
}

}  // namespace tagvera::kmedia
