// A tree built from the input by a small program of additions, stored as a block and read back
// (every byte order and reference mode) and as XML: the trees read back must equal the original,
// and a block written again from them must equal the first.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_tree.h"
#include "metaprop/metaprop_component.h"
#include "tagvera/metaprop_serialize.h"

using namespace tagvera;

namespace {

class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool empty() const { return pos_ >= size_; }
    uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::string text(size_t max) {
        const size_t n = byte() % (max + 1);
        std::string s;
        for (size_t i = 0; i < n; ++i) {
            const uint8_t c = byte();
            s += c ? static_cast<char>(c) : 'z';
        }
        return s;
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// Names from a small alphabet so that names repeat and differ only in case; ":" is left to paths.
std::string NameFrom(Input& in) {
    static const char* const kNames[] = {"Track", "track", "Album", "Name", "Statistics", "FileSize", "a",
                                         "<&>\"'", "", "B b", "\xc3\xa9t\xc3\xa9", "DataSize"};
    const uint8_t pick = in.byte();
    if (pick < 200) return kNames[pick % std::size(kNames)];
    std::string s = in.text(8);
    for (char& c : s)
        if (c == ':') c = ';';
    return s;
}

ComPtr<IMPAMetaProperty> Build(Input& in) {
    ComPtr<IMPAMetaProperty> root;
    if (Failed(CreateStandaloneMetaProperty(root.put()))) __builtin_trap();
    std::vector<ComPtr<IMPAMetaProperty>> stack{root};
    for (int ops = 0; !in.empty() && ops < 400; ++ops) {
        const uint8_t op = in.byte();
        IMPAMetaProperty* at = stack.back().get();
        const std::string name = NameFrom(in);
        const uint32_t flags = in.byte() & 0x7F;
        ComPtr<IMPAMetaProperty> node;
        switch (op % 10) {
            case 0:  // a group, entered
                if (Succeeded(at->AddGroup(name.c_str(), flags, true, node.put())) && node && stack.size() < 24)
                    stack.push_back(node);
                break;
            case 1:
                if (stack.size() > 1) stack.pop_back();
                break;
            case 2: case 3: {  // text kinds
                static const uint32_t kText[] = {kTypeText, kTypeTextList, kTypeUrl, kTypeDate, kTypeFilename};
                const std::string value = in.text(24);
                at->AddProperty(name.c_str(), kText[in.byte() % 5], flags,
                                reinterpret_cast<const uint8_t*>(value.c_str()), uint32_t(value.size() + 1), true,
                                nullptr);
                break;
            }
            case 4: {
                uint32_t n = 0;
                for (int i = 0; i < 4; ++i) n = n << 8 | in.byte();
                at->AddNumber(name.c_str(), n, flags, true, nullptr);
                break;
            }
            case 5:
                at->AddFlag(name.c_str(), in.byte() & 1, flags, true, nullptr);
                break;
            case 6: {  // binary in whole groups of four bytes
                std::vector<uint8_t> bytes(4 * (in.byte() % 5));
                for (uint8_t& b : bytes) b = in.byte();
                at->AddProperty(name.c_str(), kTypeBinary, flags, bytes.data(), uint32_t(bytes.size()), true, nullptr);
                break;
            }
            case 7: {
                const std::string value = in.text(12);
                at->AddProperty(name.c_str(), kTypeReference, flags, reinterpret_cast<const uint8_t*>(value.data()),
                                uint32_t(value.size()), true, nullptr);
                break;
            }
            case 8:
                at->AddProperty(name.c_str(), kTypeNone, flags, nullptr, 0, true, nullptr);
                break;
            default:
                at->AddText(name.c_str(), in.text(6).c_str(), flags, true, nullptr);
                break;
        }
    }
    return root;
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

ComPtr<IMPAMetaProperty> Fresh() {
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateStandaloneMetaProperty(tree.put()))) __builtin_trap();
    return tree;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    ComPtr<IMPAMetaProperty> tree = Build(in);

    for (int mode = 0; mode < 4; ++mode) {
        const bool keep = mode & 1, big = mode & 2;
        const std::vector<uint8_t> block = Write(tree.get(), keep, big);
        ComPtr<IMPAMetaProperty> back = Fresh();
        auto s = QueryAs<IMPAMetaPropertySerialize>(back, IID_IMPAMetaPropertySerialize);
        if (s->ReadBinary(block.data(), uint32_t(block.size()), keep, big) != TV_S_OK) __builtin_trap();
        fuzz::Canon c;
        c.referenceValues = keep;
        if (fuzz::CanonTree(back.get(), c) != fuzz::CanonTree(tree.get(), c)) __builtin_trap();
        if (Write(back.get(), keep, big) != block) __builtin_trap();
    }

    for (bool pretty : {false, true}) {
        auto s = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
        char* text = nullptr;
        uint32_t length = 0;
        if (s->WriteXML(&text, &length, pretty) != TV_S_OK) __builtin_trap();
        ComPtr<IMPAMetaProperty> back = Fresh();
        auto s2 = QueryAs<IMPAMetaPropertySerialize2>(back, IID_IMPAMetaPropertySerialize2);
        const HRESULT hr = s2->ReadXMLWithEncoding(text, length - 1, "US-ASCII");
        delete[] text;
        if (hr != TV_S_OK) __builtin_trap();
        fuzz::Canon c;
        c.withRoot = false;
        c.referenceValues = false;
        c.xml = true;
        c.flagMask = kFlagReadOnly | kFlagPrivate | kFlagType | kFlagShortcut | kFlagStagnant | kFlagFlatten;
        if (fuzz::CanonTree(back.get(), c) != fuzz::CanonTree(tree.get(), c)) __builtin_trap();
    }
    return 0;
}
