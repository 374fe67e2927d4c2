// Helpers of the serialization tests: trees made standalone, a tree holding every type, flag and
// reference kind, and a canonical dump that makes two trees comparable with readable differences.
#ifndef TAGVERA_TESTS_METAPROP_SERIALIZE_SERIALIZE_SUPPORT_H
#define TAGVERA_TESTS_METAPROP_SERIALIZE_SERIALIZE_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "metaprop/tree_test_support.h"
#include "tagvera/metaprop_serialize.h"

namespace tagvera::testing {

using Bytes = std::vector<uint8_t>;

inline ComPtr<IMPAMetaPropertySerialize> Serialize(IMPAMetaProperty* node) {
    auto s = QueryAs<IMPAMetaPropertySerialize>(node, IID_IMPAMetaPropertySerialize);
    EXPECT_TRUE(s);
    return s;
}
inline ComPtr<IMPAMetaPropertySerialize2> Serialize2(IMPAMetaProperty* node) {
    auto s = QueryAs<IMPAMetaPropertySerialize2>(node, IID_IMPAMetaPropertySerialize2);
    EXPECT_TRUE(s);
    return s;
}

struct BlockOptions {
    bool keepReferences = false;
    bool variant = false;
    bool bigEndian = false;
    bool databaseFields = true;
};

// WriteBinaryEx into a vector; fails the test when writing fails.
inline Bytes WriteBlock(IMPAMetaProperty* node, const BlockOptions& o = {}) {
    uint8_t* block = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(Serialize2(node)->WriteBinaryEx(&block, &size, o.keepReferences, o.variant, o.bigEndian,
                                              o.databaseFields),
              TV_S_OK);
    Bytes out(block, block + size);
    delete[] block;
    return out;
}

inline HRESULT ReadBlock(IMPAMetaProperty* node, const Bytes& block, bool keepReferences = false,
                         bool bigEndian = false) {
    return Serialize(node)->ReadBinary(block.data(), static_cast<uint32_t>(block.size()), keepReferences, bigEndian);
}

// WriteXML as a string without its NUL.
inline std::string WriteXml(IMPAMetaProperty* node, bool pretty = false) {
    char* text = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(Serialize(node)->WriteXML(&text, &length, pretty), TV_S_OK);
    EXPECT_TRUE(text && length >= 1 && text[length - 1] == '\0');
    std::string out(text, length ? length - 1 : 0);
    delete[] text;
    return out;
}

inline HRESULT ReadXml(IMPAMetaProperty* node, const std::string& text, const char* encoding = "US-ASCII") {
    return Serialize2(node)->ReadXMLWithEncoding(text.data(), static_cast<uint32_t>(text.size()), encoding);
}

inline Node Add(IMPAMetaProperty* parent, const char* name, uint32_t type, uint32_t flags, const void* data,
                uint32_t size) {
    Node node;
    EXPECT_TRUE(Succeeded(
        parent->AddProperty(name, type, flags, static_cast<const uint8_t*>(data), size, true, node.put())))
        << name;
    return node;
}
// A value of text and its NUL, of any type (AddText of the tree support makes text through the shortcut).
inline Node AddTyped(IMPAMetaProperty* parent, const char* name, const std::string& text, uint32_t type = kTypeText,
                     uint32_t flags = 0) {
    return Add(parent, name, type, flags, text.c_str(), static_cast<uint32_t>(text.size() + 1));
}
inline Node AddNumber(IMPAMetaProperty* parent, const char* name, uint32_t value, uint32_t flags = 0) {
    const uint8_t le[4] = {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
    return Add(parent, name, kTypeNumber, flags, le, 4);
}

// The bytes of the value at path; none when the node or its value is missing.
inline Bytes ValueAt(IMPAMetaProperty* tree, const char* path) {
    Node node;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(tree->FindFirstChild(path, node.put())) || Failed(node->GetValue(&data, &size))) return {};
    return Bytes(data, data + size);
}

// How a dump sees a tree: what a stored form cannot keep is left out of both sides.
struct DumpRules {
    bool withRoot = true;             // the root's own name, type, flags and value
    bool emptyStringIsNoValue = false;  // a 1-byte 0 value (what blocks store for "none") counts as none
    uint32_t flagMask = 0xFFFFFFFF;
    bool valuelessTypes[256] = {};    // types whose values are not compared
    bool withChanged = false;
};

// One line per node, depth-first in enumeration order: indentation, name, type, flags, value in hex.
std::string Dump(IMPAMetaProperty* root, const DumpRules& rules = {});

// The rules under which a tree survives the block form unchanged (database fields on).
DumpRules BlockRules(bool referencesKept);
// ... and the XML form.
DumpRules XmlRules();

// A tree with every named type (reference 10 only; 11 and 12 are stand-ins in most forms), every
// flag bit, escapes, UTF-8 text, empty values and same-name groups merged.
Node EveryTypeTree();

}  // namespace tagvera::testing

#endif
