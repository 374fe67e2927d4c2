// The libavformat plug-ins over any bytes: the plug-in is picked by the first byte, the rest is
// the file. Opening, the file header and every stream header never crash, and the I/O context
// never lets libavformat read more than its budget.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "component/value_objects.h"
#include "host/ref_counted.h"
#include "mediaplatform/av_file_format.h"
#include "mediaplatform/message_queue.h"
#include "tagvera/com_ptr.h"

namespace {

using namespace tagvera;

class MemoryFile final : public host::RefCounted<IKMAFileObject> {
public:
    explicit MemoryFile(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    HRESULT TV_STDCALL GetSize(uint64_t* size) override { return *size = bytes_.size(), TV_S_OK; }
    HRESULT TV_STDCALL ReadAt(uint64_t offset, uint8_t* buffer, uint32_t size, uint32_t* read) override {
        *read = offset >= bytes_.size() ? 0 : uint32_t(std::min<uint64_t>(size, bytes_.size() - offset));
        if (*read) std::copy_n(bytes_.data() + offset, *read, buffer);
        total_ += *read;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL GetBytesRead(uint64_t* count) override { return *count = total_, TV_S_OK; }
    uint64_t total() const { return total_; }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAFileObject ? static_cast<IKMAFileObject*>(this) : nullptr; }
    std::span<const uint8_t> bytes_;
    uint64_t total_ = 0;
};

// Makes the value lists and buffers the headers are delivered in.
class Factory final : public host::RefCounted<IKMAClassFactory> {
public:
    HRESULT TV_STDCALL CreateInstance(const GUID& classId, IUnknown*, const GUID&, void** out) override {
        if (classId == CLSID_CZNBuffer) return NewBuffer(reinterpret_cast<IKMABuffer**>(out));
        return NewValueList(reinterpret_cast<IKMAValues**>(out));
    }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAClassFactory ? static_cast<IKMAClassFactory*>(this) : nullptr; }
};

// Takes every notification and keeps nothing.
class Response final : public host::RefCounted<IKMAFormatResponse> {
public:
    HRESULT TV_STDCALL InitDone(HRESULT) override { return TV_S_OK; }
    HRESULT TV_STDCALL PacketReady(HRESULT, IUnknown*) override { return TV_S_OK; }
    HRESULT TV_STDCALL SeekDone(HRESULT, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL FileHeaderReady(HRESULT, IKMAValues*) override { return TV_S_OK; }
    HRESULT TV_STDCALL StreamHeaderReady(HRESULT, IKMAValues*) override { return TV_S_OK; }
    HRESULT TV_STDCALL StreamDone(uint16_t) override { return TV_S_OK; }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAFormatResponse ? static_cast<IKMAFormatResponse*>(this) : nullptr; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::mediaplatform;
    if (size < 1) return 0;
    const auto plugins = FileFormatPlugins();
    const PluginRow& row = plugins[data[0] % plugins.size()];
    auto factory = ComPtr<Factory>::Adopt(new Factory());
    auto response = ComPtr<Response>::Adopt(new Response());
    auto file = ComPtr<MemoryFile>::Adopt(new MemoryFile(std::span(data + 1, size - 1)));
    ComPtr<IUnknown> plugin;
    if (Failed(NewAvFileFormat(factory.get(), row, plugin.put()))) std::abort();
    auto format = QueryAs<IKMAFileFormat>(plugin, IID_IKMAFileFormat);
    format->InitFileFormat(nullptr, response.get(), static_cast<IKMAFileObject*>(file.get()));
    format->GetFileHeader();
    for (uint16_t stream = 0; Succeeded(format->GetStreamHeader(stream)) && stream < 64; ++stream) {
    }
    format->Close();
    while (DispatchOneOnThisThread()) {
    }
    if (file->total() > kMostBytesRead) std::abort();
    return 0;
}
