// Property trees for the MP3 importer's tests (made as the tree tests make them): values read back
// by path, blocks, and a data source that hands out fixed bytes.
#ifndef TAGVERA_TESTS_MP3_IMPORTER_TREE_SUPPORT_H
#define TAGVERA_TESTS_MP3_IMPORTER_TREE_SUPPORT_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "id3v2/tag_builder.h"
#include "metaprop/tree_test_support.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/metaprop_serialize.h"

namespace tagvera::testing {

// The node at path, or empty.
inline ComPtr<IMPAMetaProperty> NodeAt(IMPAMetaProperty* tree, const char* path) {
    ComPtr<IMPAMetaProperty> node;
    if (Failed(tree->FindFirstChild(path, node.put()))) return {};
    return node;
}

// The text at path ("" when absent), asserting that it is a string.
inline std::string TextAt(IMPAMetaProperty* tree, const char* path) {
    auto node = NodeAt(tree, path);
    if (!node) return "";
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size)) || !data) return "";
    const void* nul = std::memchr(data, 0, size);
    return std::string(reinterpret_cast<const char*>(data),
                       nul ? static_cast<const uint8_t*>(nul) - data : size);
}

// A 4-byte number at path; UINT32_MAX when absent or not a number.
inline uint32_t NumberAt(IMPAMetaProperty* tree, const char* path) {
    auto node = NodeAt(tree, path);
    if (!node) return UINT32_MAX;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size)) || size != 4) return UINT32_MAX;
    return uint32_t(data[0]) | uint32_t(data[1]) << 8 | uint32_t(data[2]) << 16 | uint32_t(data[3]) << 24;
}

// A tree as a jukebox frame carries it: big-endian, reference data kept, standard magic.
inline Bytes BlockOf(IMPAMetaProperty* tree) {
    auto serialize = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    EXPECT_TRUE(serialize);
    if (!serialize) return {};
    uint8_t* block = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(serialize->WriteBinary(&block, &size, true, false, true), TV_S_OK);
    Bytes out(block, block + size);
    delete[] block;
    return out;
}

// Answers GetPropertyData with its bytes, whatever the property; everything else E_NOTIMPL.
class FakeDataSource final : public IMPAHandleMetaProperties {
public:
    explicit FakeDataSource(Bytes bytes) : bytes_(std::move(bytes)) {}
    HRESULT TV_STDCALL QueryInterface(const GUID&, void** out) override {
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return 1; }
    tagvera::RefCount TV_STDCALL Release() override { return 1; }
    HRESULT TV_STDCALL SetFilename(const char*) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL GetSupportedMimeTypes(char*, uint32_t*) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL GetSupportedExtensions(char*, uint32_t*) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Prepare(uint32_t) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty*, uint8_t* buffer, uint32_t size) override {
        if (size > bytes_.size()) return TV_E_FAIL;
        std::memcpy(buffer, bytes_.data(), size);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty*, const char*) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty*, IMPAHandleMetaProperties*, uint32_t) override {
        return TV_E_NOTIMPL;
    }

private:
    Bytes bytes_;
};

}  // namespace tagvera::testing

#endif
