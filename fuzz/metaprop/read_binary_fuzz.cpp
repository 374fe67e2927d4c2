// Any bytes as a jukebox metadata block read into a tree, in the byte order and reference mode
// the first byte picks. Nothing may crash; whatever was read writes as a block and as XML, and
// the block written reads back into a tree that writes it again byte for byte.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_tree.h"
#include "metaprop/metaprop_component.h"
#include "tagvera/metaprop_serialize.h"

using namespace tagvera;

namespace {

ComPtr<IMPAMetaProperty> Fresh() {
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateStandaloneMetaProperty(tree.put()))) __builtin_trap();
    return tree;
}

std::vector<uint8_t> Write(IMPAMetaProperty* tree, bool keep, bool big) {
    auto s = QueryAs<IMPAMetaPropertySerialize2>(tree, IID_IMPAMetaPropertySerialize2);
    uint8_t* block = nullptr;
    uint32_t size = 0;
    if (s->WriteBinaryEx(&block, &size, keep, false, big, true) != TV_S_OK) __builtin_trap();
    std::vector<uint8_t> out(block, block + size);
    delete[] block;
    return out;
}

HRESULT Read(IMPAMetaProperty* tree, const uint8_t* data, size_t size, bool keep, bool big) {
    auto s = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    return s->ReadBinary(data, static_cast<uint32_t>(size), keep, big);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool keep = data[0] & 1;
    const bool big = data[0] & 2;
    ++data, --size;

    ComPtr<IMPAMetaProperty> tree = Fresh();
    const HRESULT hr = Read(tree.get(), data, size, keep, big);
    if (hr != TV_S_OK && hr != TV_E_FAIL && hr != TV_E_BLOCK_BADHEADER) __builtin_trap();

    // Whatever was read, even partly, can be written in both forms.
    const std::vector<uint8_t> block = Write(tree.get(), keep, big);
    auto serialize = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    char* text = nullptr;
    uint32_t length = 0;
    if (Failed(serialize->WriteXML(&text, &length, true))) __builtin_trap();
    delete[] text;

    // The first writing turns file and data references into stand-ins; from then on a block reads
    // into a tree that writes the same block again.
    ComPtr<IMPAMetaProperty> second = Fresh();
    if (Read(second.get(), block.data(), block.size(), keep, big) != TV_S_OK) __builtin_trap();
    const std::vector<uint8_t> again = Write(second.get(), keep, big);
    if (again != block) __builtin_trap();
    ComPtr<IMPAMetaProperty> third = Fresh();
    if (Read(third.get(), again.data(), again.size(), keep, big) != TV_S_OK) __builtin_trap();
    fuzz::Canon c;
    c.referenceValues = keep;
    if (fuzz::CanonTree(third.get(), c) != fuzz::CanonTree(second.get(), c)) __builtin_trap();
    return 0;
}
