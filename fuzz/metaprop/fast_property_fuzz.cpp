// Any bytes as a block given to CFastMetaProperty, with a query taken from the input: reads in
// place must not crash, and the tree the view builds must be the tree ReadBinary builds.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_tree.h"
#include "metaprop/fast_meta_property.h"
#include "metaprop/metaprop_component.h"

using namespace tagvera;

namespace {

void Touch(IMPAMetaProperty* node) {
    const char* s = nullptr;
    uint32_t n = 0;
    const uint8_t* v = nullptr;
    node->GetName(&s);
    node->GetPath(&s);
    node->GetType(&n);
    node->GetFlags(&n);
    if (Succeeded(node->GetValue(&v, &n)) && n) {
        volatile uint8_t sink = v[0] ^ v[n - 1];
        (void)sink;
    }
    for (HRESULT hr = node->GetFirstChildName(&s); hr == TV_S_OK; hr = node->GetNextChildName(&s))
        node->GetChildCount(s, &n);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool big = data[0] & 1;
    ++data, --size;
    // The query: up to the first NUL, at most 64 bytes.
    const void* nul = std::memchr(data, 0, size < 64 ? size : 64);
    if (!nul) return 0;
    const std::string query(reinterpret_cast<const char*>(data), static_cast<const uint8_t*>(nul) - data);
    const size_t used = query.size() + 1;
    data += used, size -= used;

    ComPtr<IMPAMetaPropertyBuffer> view;
    if (Failed(CreateFastMetaProperty(view.put()))) __builtin_trap();
    auto* copy = new uint8_t[size ? size : 1];
    if (size) std::memcpy(copy, data, size);
    if (Failed(view->SetBuffer(copy, static_cast<uint32_t>(size), big))) return 0;

    Touch(view.get());
    ComPtr<IMPAMetaProperty> found;
    if (Succeeded(view->FindByPath(query.c_str(), found.put()))) Touch(found.get());
    if (Succeeded(view->FindFirstChild(query.c_str(), found.put()))) Touch(found.get());

    // Building the full node is reading the block: both succeed or fail together, alike.
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateStandaloneMetaProperty(tree.put()))) __builtin_trap();
    auto serialize = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    const bool read = serialize->ReadBinary(data, static_cast<uint32_t>(size), true, big) == TV_S_OK;
    uint32_t total = 0;
    const bool built = view->GetTotalChildCount(&total) == TV_S_OK;
    if (read != built) __builtin_trap();
    if (built && fuzz::CanonTree(view.get()) != fuzz::CanonTree(tree.get())) __builtin_trap();
    return 0;
}
