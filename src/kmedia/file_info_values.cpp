#include "kmedia/file_info_values.h"

#include <cstring>

#include "base/error.h"
#include "component/value_objects.h"
#include "tagvera/com_ptr.h"

namespace tagvera::kmedia {
namespace {

constexpr char kRuleBook[] = "ASMRuleBook";

std::vector<uint8_t> BytesOf(IKMABuffer* buffer) {
    uint8_t* data = nullptr;
    uint32_t size = 0;
    if (!buffer || Failed(buffer->Get(&data, &size)) || !data) return {};
    return {data, data + size};
}

// Walks one kind of value with its first/next pair until the list has no more.
template <class First, class Next, class Take>
void Enumerate(First first, Next next, Take take) {
    const char* name = nullptr;
    for (HRESULT hr = first(&name); hr == TV_S_OK; hr = next(&name))
        if (name) take(name);
}

}  // namespace

HRESULT FileInfoToValues(const std::vector<NameValueProperty>& properties, IKMAValues** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    ComPtr<IKMAValues> list;
    if (const HRESULT hr = NewKeyedList(list.put()); Failed(hr)) return hr;
    for (const auto& p : properties) {
        if (p.version != 0) continue;
        HRESULT hr = TV_S_OK;
        uint32_t number = 0;
        if (p.AsNumber(&number)) {
            hr = list->SetNumberValue(p.name.c_str(), number);
        } else if (p.type == NameValueProperty::kBuffer) {
            ComPtr<IKMABuffer> b;
            hr = NewBuffer(p.value.data(), static_cast<uint32_t>(p.value.size()), b.put());
            if (Succeeded(hr)) hr = list->SetBufferValue(p.name.c_str(), b.get());
        } else if (p.type == NameValueProperty::kText && p.name != kRuleBook) {
            const auto* text = reinterpret_cast<const char*>(p.value.data());
            const size_t len = strnlen(text, p.value.size());
            ComPtr<IKMABuffer> b;
            hr = NewTextBuffer(std::string_view(text, len), b.put());
            if (Succeeded(hr)) hr = list->SetStringValue(p.name.c_str(), b.get());
        }
        if (Failed(hr)) return hr;
    }
    *out = list.detach();
    return TV_S_OK;
}

std::vector<NameValueProperty> ValuesToFileInfo(IKMAValues* values) {
    std::vector<NameValueProperty> out;
    if (!values) return out;
    uint32_t number = 0;
    Enumerate([&](const char** n) { return values->GetFirstNumberValue(n, &number); },
              [&](const char** n) { return values->GetNextNumberValue(n, &number); },
              [&](const char* n) { out.push_back(NameValueProperty::Number(n, number)); });
    ComPtr<IKMABuffer> buffer;
    Enumerate([&](const char** n) { return values->GetFirstBufferValue(n, buffer.put()); },
              [&](const char** n) { return values->GetNextBufferValue(n, buffer.put()); },
              [&](const char* n) { out.push_back(NameValueProperty::Buffer(n, BytesOf(buffer.get()))); });
    Enumerate([&](const char** n) { return values->GetFirstStringValue(n, buffer.put()); },
              [&](const char** n) { return values->GetNextStringValue(n, buffer.put()); },
              [&](const char* n) {
                  auto bytes = BytesOf(buffer.get());
                  if (!bytes.empty() && bytes.back() == 0) bytes.pop_back();
                  out.push_back(NameValueProperty::Text(n, std::string(bytes.begin(), bytes.end())));
              });
    return out;
}

}  // namespace tagvera::kmedia
