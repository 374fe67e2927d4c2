#include "interrogate/header_values.h"

#include "tagvera/buffer_text.h"
#include "tagvera/com_ptr.h"

namespace tagvera::interrogate {

std::optional<uint32_t> HeaderNumber(IKMAValues* header, const char* name) {
    uint32_t value = 0;
    if (!header || Failed(header->GetNumberValue(name, &value))) return std::nullopt;
    return value;
}

std::optional<std::string> HeaderText(IKMAValues* header, const char* name) {
    if (!header) return std::nullopt;
    ComPtr<IKMABuffer> buffer;
    if (Succeeded(header->GetStringValue(name, buffer.put())) && buffer) return BufferText(buffer.get());
    buffer.reset();
    if (Succeeded(header->GetBufferValue(name, buffer.put())) && buffer) return BufferText(buffer.get());
    return std::nullopt;
}

uint64_t HeaderEndTime(IKMAValues* header) {
    return uint64_t(HeaderNumber(header, "StartTime").value_or(0)) + HeaderNumber(header, "Duration").value_or(0);
}

}  // namespace tagvera::interrogate
