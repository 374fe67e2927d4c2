#include "cli/tool_services.h"

#include "host/result_text.h"
#include "tagvera/buffer_text.h"

namespace tagvera::cli {

ComPtr<IKMAToolServices> ToolServices(CommandContext& ctx) {
    auto services = QueryAs<IKMAToolServices>(ctx.host().package(), IID_IKMAToolServices);
    if (!services) throw DataError(ctx.libraryPath(), "the library offers no tool services (IKMAToolServices)");
    return services;
}

std::string FailureText(HRESULT hr, IKMABuffer* reason) {
    return reason ? BufferText(reason) : host::ResultText(hr);
}

void WriteOutputFile(CommandContext& ctx, const std::string& path, std::span<const uint8_t> bytes) {
    if (bytes.size() > UINT32_MAX) throw DataError(path, "cannot write more than 4 GB");
    ComPtr<IKMABuffer> reason;
    const HRESULT hr = ToolServices(ctx)->WriteFileSafely(path.c_str(), bytes.data(), uint32_t(bytes.size()),
                                                          reason.put());
    if (Failed(hr)) throw DataError(path, "cannot write: " + FailureText(hr, reason.get()));
}

}  // namespace tagvera::cli
