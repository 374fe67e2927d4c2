#include "mediaplatform/file_system_manager.h"

#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "host/ref_counted.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tagvera/com_ptr.h"

namespace tagvera::mediaplatform {
namespace {

class FileObject final : public host::RefCounted<IKMAFileObject> {
public:
    explicit FileObject(platform::File file) : file_(std::move(file)) {}

    HRESULT TV_STDCALL GetSize(uint64_t* size) override {
        if (!size) return TV_E_POINTER;
        *size = file_.size();
        return TV_S_OK;
    }
    HRESULT TV_STDCALL ReadAt(uint64_t offset, uint8_t* buffer, uint32_t size, uint32_t* read) override {
        if (!read || (!buffer && size)) return TV_E_POINTER;
        *read = 0;
        try {
            *read = static_cast<uint32_t>(file_.readAt(offset, std::span<uint8_t>(buffer, size)));
            return TV_S_OK;
        } catch (...) {
            return TV_E_FAIL;
        }
    }
    HRESULT TV_STDCALL GetBytesRead(uint64_t* count) override {
        if (!count) return TV_E_POINTER;
        *count = file_.bytesRead();
        return TV_S_OK;
    }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAFileObject ? static_cast<IKMAFileObject*>(this) : nullptr; }
    platform::File file_;
};

class FileSystemManager final : public host::RefCounted<IKMAFileSystemManager> {
public:
    HRESULT TV_STDCALL Init(IKMAFileSystemManagerResponse* response) override {
        response_ = ComPtr<IKMAFileSystemManagerResponse>::Share(response);
        if (response_) response_->InitDone(TV_S_OK);
        return TV_S_OK;
    }

    // Answers at once: the file is opened here, on the caller's thread.
    HRESULT TV_STDCALL GetFileObject(const char* url) override {
        if (!url) return TV_E_POINTER;
        if (!response_) return TV_E_NOTLOADED;
        constexpr std::string_view kScheme = "file://";
        const std::string_view text(url);
        if (text.substr(0, kScheme.size()) != kScheme) return TV_E_INVALIDARG;
        ComPtr<IKMAFileObject> object;
        HRESULT status = TV_S_OK;
        try {
            platform::File file = platform::OpenForReading(std::string(text.substr(kScheme.size())));
            if (!file.regular()) throw platform::FileError("open", file.path(), "not a regular file");
            object = ComPtr<IKMAFileObject>::Adopt(new FileObject(std::move(file)));
        } catch (const std::bad_alloc&) {
            status = TV_E_OUTOFMEMORY;
        } catch (...) {
            status = TV_E_FAIL;
        }
        response_->FileObjectReady(status, object.get());
        return status;
    }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKMAFileSystemManager ? static_cast<IKMAFileSystemManager*>(this) : nullptr;
    }
    ComPtr<IKMAFileSystemManagerResponse> response_;
};

}  // namespace

HRESULT NewFileSystemManager(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* manager = new (std::nothrow) FileSystemManager();
    if (!manager) return TV_E_OUTOFMEMORY;
    const HRESULT hr = manager->QueryInterface(iid, out);
    manager->Release();
    return hr;
}

}  // namespace tagvera::mediaplatform
