#include "host/component_info.h"

#include <cstring>

#include "host/library.h"
#include "host/names.h"
#include "host/objects.h"
#include "host/result_text.h"
#include "tagvera/buffer_text.h"
#include "tagvera/com_ptr.h"

namespace tagvera::host {

namespace {
template <class V>
const V* FindNamed(const std::vector<std::pair<std::string, V>>& list, std::string_view name) {
    for (const auto& [n, v] : list)
        if (EqualsNoCase(n, name)) return &v;
    return nullptr;
}

std::vector<uint8_t> BufferBytes(IKMABuffer* b) {
    uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(b->Get(&data, &size)) || !data) return {};
    return std::vector<uint8_t>(data, data + size);
}

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}
}  // namespace

const uint32_t* ValueSnapshot::number(std::string_view name) const { return FindNamed(numbers, name); }
const std::vector<uint8_t>* ValueSnapshot::buffer(std::string_view name) const { return FindNamed(buffers, name); }
const std::string* ValueSnapshot::string(std::string_view name) const { return FindNamed(strings, name); }

ValueSnapshot SnapshotValues(IKMAValues* values) {
    ValueSnapshot out;
    const char* name = nullptr;
    uint32_t number = 0;
    for (HRESULT hr = values->GetFirstNumberValue(&name, &number); Succeeded(hr);
         hr = values->GetNextNumberValue(&name, &number))
        out.numbers.emplace_back(name, number);
    ComPtr<IKMABuffer> b;
    for (HRESULT hr = values->GetFirstBufferValue(&name, b.put()); Succeeded(hr);
         hr = values->GetNextBufferValue(&name, b.put()))
        out.buffers.emplace_back(name, BufferBytes(b.get()));
    for (HRESULT hr = values->GetFirstStringValue(&name, b.put()); Succeeded(hr);
         hr = values->GetNextStringValue(&name, b.put()))
        out.strings.emplace_back(name, BufferText(b.get()));
    return out;
}

std::vector<std::string> SplitList(std::string_view list, char separator) {
    std::vector<std::string> out;
    while (!list.empty()) {
        const size_t at = list.find(separator);
        const std::string_view item = Trim(list.substr(0, at));
        if (!item.empty()) out.emplace_back(item);
        if (at == std::string_view::npos) break;
        list.remove_prefix(at + 1);
    }
    return out;
}

ComponentInfo ReadComponentInfo(IKMAComponentPlugin* package, uint32_t index) {
    ComPtr<IKMAValues> values;
    const HRESULT hr = package->GetComponentInfo(index, values.put());
    if (Failed(hr) || !values)
        throw HostError("GetComponentInfo(" + std::to_string(index) + ") failed: " + ResultText(hr));
    ComponentInfo info;
    info.index = index;
    info.values = SnapshotValues(values.get());
    const auto* id = info.values.buffer(kComponentClsid);
    if (!id || id->size() != sizeof(GUID))
        throw HostError("component " + std::to_string(index) + " has no 16-byte ComponentCLSID");
    std::memcpy(&info.classId, id->data(), sizeof(GUID));
    info.known = FindKnownComponent(info.classId);
    if (const uint32_t* n = info.values.number(kLoadMultiple)) info.loadMultiple = *n != 0;
    if (const std::string* s = info.values.string(kSupportedMimeTypes)) info.mimeTypes = SplitList(*s, '|');
    if (const std::string* s = info.values.string(kSupportedExtensions)) info.extensions = SplitList(*s, '|');
    return info;
}

std::string ExtensionOf(std::string_view path) {
    const size_t slash = path.find_last_of("/\\");
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {};
    return Lower(name.substr(dot + 1));
}

const ComponentInfo* FindByExtension(const std::vector<ComponentInfo>& components, std::string_view extension) {
    if (!extension.empty() && extension.front() == '.') extension.remove_prefix(1);
    if (extension.empty()) return nullptr;
    for (const auto& c : components)
        for (const auto& e : c.extensions)
            if (EqualsNoCase(e, extension)) return &c;
    return nullptr;
}

const ComponentInfo* FindByMimeType(const std::vector<ComponentInfo>& components, std::string_view mimeType) {
    mimeType = Trim(mimeType.substr(0, mimeType.find(';')));
    if (mimeType.empty()) return nullptr;
    for (const auto& c : components)
        for (const auto& m : c.mimeTypes)
            if (EqualsNoCase(m, mimeType)) return &c;
    return nullptr;
}

const ComponentInfo* FindByClassId(const std::vector<ComponentInfo>& components, const GUID& classId) {
    for (const auto& c : components)
        if (c.classId == classId) return &c;
    return nullptr;
}

}  // namespace tagvera::host
