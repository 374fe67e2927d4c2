// The image importer as a host drives it (linked in, so that fault injection reaches its file
// calls), and what the fixture script recorded of each fixture.
#ifndef TAGVERA_TESTS_IMAGE_IMAGE_SUPPORT_H
#define TAGVERA_TESTS_IMAGE_IMAGE_SUPPORT_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "image/fixture_table.h"
#include "image/image_importer.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::image::testing {

inline std::string FixturePath(const std::string& name) { return std::string(TAGVERA_TEST_DATA_DIR) + "/image/" + name; }

inline std::vector<Expectation> Expectations() {
    std::vector<Expectation> rows = ReadExpectations(FixturePath("expected.tsv"));
    EXPECT_FALSE(rows.empty()) << "no fixtures: run tools/make-image-fixtures.sh";
    return rows;
}

struct ImageSession {
    ComPtr<IMPAInterrogateFile> importer;
    ComPtr<IMPAMetaProperty> tree;
    HRESULT open = TV_E_FAIL;
    HRESULT result = TV_E_FAIL;

    ComPtr<IMPAMetaProperty> node(const char* path) const {
        ComPtr<IMPAMetaProperty> n;
        if (!tree || Failed(tree->FindByPath(path, n.put()))) return {};
        return n;
    }
    std::vector<uint8_t> value(const char* path) const {
        auto n = node(path);
        const uint8_t* data = nullptr;
        uint32_t size = 0;
        if (!n || Failed(n->GetValue(&data, &size)) || !data) return {};
        return {data, data + size};
    }
    uint32_t type(const char* path) const {
        auto n = node(path);
        uint32_t t = kTypeNone;
        if (n) n->GetType(&t);
        return t;
    }
    void set(const char* path, const std::string& text) const {
        ASSERT_TRUE(tree) << "not interrogated";
        ComPtr<IMPAMetaProperty> n;
        ASSERT_EQ(tree->AddText(path, text.c_str(), 0, true, n.put()), TV_S_OK);
        n->SetChanged(kChanged);
    }
    void remove(const char* path) const {
        auto n = node(path);
        ASSERT_TRUE(n) << path;
        n->SetChanged(kDeleted);
    }
    HRESULT write() const {
        auto handler = QueryAs<IMPAHandleMetaProperties>(importer.get(), IID_IMPAHandleMetaProperties);
        return handler->WriteMetaProperties(tree.get(), handler.get(), 0);
    }
    std::string report() const {
        auto r = QueryAs<IMPAWriteReport>(importer.get(), IID_IMPAWriteReport);
        char buffer[4096] = {};
        uint32_t size = sizeof buffer;
        return r && Succeeded(r->GetWriteReport(buffer, &size)) ? buffer : "?";
    }
};

inline ImageSession OpenImage(const std::string& path) {
    ImageSession s;
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(CreateImageMetadataPlugin(nullptr, nullptr, unknown.put()), TV_S_OK);
    s.importer = QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
    s.open = s.importer->SetFilename(path.c_str());
    if (Succeeded(s.open)) s.result = s.importer->Interrogate(s.tree.put());
    return s;
}

inline bool HaveTool(const char* path) { return std::ifstream(path).good(); }

}  // namespace tagvera::image::testing

#endif
