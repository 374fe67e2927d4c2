// Every ID3 fixture through CMPAID3v2Parser: each frame the frame map reads shows up in the
// property tree under its name with the fixture's value, and on-demand data comes back intact.
#include <gtest/gtest.h>

#include <set>

#include "id3v2/fixture_list.h"
#include "id3v2/json_value.h"
#include "mp3_importer/tree_support.h"
#include "tags/id3v2/sha1.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

TEST(Id3Fixtures, AreAllThere) { EXPECT_GE(FixtureBasesIn(Id3DataDir()).size(), 35u) << Id3DataDir(); }

class FixtureProperties : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (const std::string why = SkipReason(GetParam()); !why.empty()) GTEST_SKIP() << why;
        ASSERT_EQ(CreateID3v2Parser(nullptr, parser_.put()), TV_S_OK);
        root_ = NewTree();
        uint32_t tagSize = 0;
        // ID3v1 and Lyrics3 fields too, so that the fixtures without ID3v2 tags count as well.
        ASSERT_EQ(parser_->LinkFile((GetParam() + ".mp3").c_str(), &tagSize, kLinkTrailingTags), TV_S_OK);
        ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    }

    void ExpectFrameId(IMPAMetaProperty* n, const char* id, const std::string& path) {
        const auto fid = NodeAt(n, id3v2::kFrameIdProperty);
        ASSERT_TRUE(fid) << path;
        EXPECT_EQ(TypeOf(fid.get()), kTypeBinary);
        EXPECT_EQ(FlagsOf(fid.get()), uint32_t(kFlagPrivate));
        EXPECT_EQ(NumberAt(n, id3v2::kFrameIdProperty), id3v2::FrameNumber(id)) << path;
    }

    void ExpectData(IMPAMetaProperty* n, const std::string& path, size_t size, const std::string& sha1) {
        ASSERT_EQ(TypeOf(n), kTypeReference) << path;
        EXPECT_EQ(NumberAt(n, "DataSize"), size) << path;
        std::vector<uint8_t> buffer(size + 1);
        ASSERT_EQ(parser_->GetFrameData(n, buffer.data(), uint32_t(buffer.size())), TV_S_OK) << path;
        buffer.resize(size);
        EXPECT_EQ(id3v2::Sha1Hex(buffer), sha1) << path;
        if (size > 0) {
            EXPECT_EQ(parser_->GetFrameData(n, buffer.data(), uint32_t(size - 1)), TV_E_BUFFERTOOSMALL);
        }
    }

    ComPtr<IMPAID3v2Parser> parser_;
    ComPtr<IMPAMetaProperty> root_;
};

TEST_P(FixtureProperties, MappedFramesAreInTheTree) {
    const Json expected = JsonParser::Parse(ReadText(GetParam() + ".expect.json"));
    std::set<std::string> seen;  // the first frame that names a property wins
    int checked = 0;
    for (const auto& f : expected["frames"].array) {
        const std::string id = f["id"].string, path = PropertyPathOf(f);
        if (path.empty() || !seen.insert(path).second) continue;
        const auto n = NodeAt(root_.get(), path.c_str());
        ASSERT_TRUE(n) << path;
        ++checked;
        ExpectFrameId(n.get(), id == "TDRC" ? "TYER" : id.c_str(), path);
        if (id == "TYER" || id == "TDRC") {
            EXPECT_EQ(TypeOf(n.get()), kTypeNumber);
            EXPECT_EQ(NumberAt(root_.get(), path.c_str()), uint32_t(std::stoul(f["text"].array[0].string.substr(0, 4))));
        } else if (id == "TCON") {
            std::set<std::string> ok{Joined(f)};
            if (f.has("alt"))
                for (const auto& a : f["alt"].strings()) ok.insert(a);
            EXPECT_TRUE(ok.count(TextAt(root_.get(), path.c_str()))) << TextAt(root_.get(), path.c_str());
        } else if (id == "USLT") {
            const std::string lyrics = f["text"].array[0].string;
            const auto* text = reinterpret_cast<const uint8_t*>(lyrics.c_str());
            ExpectData(n.get(), path, lyrics.size() + 1, id3v2::Sha1Hex({text, lyrics.size() + 1}));
        } else if (id == "APIC" || id == "GEOB") {
            ExpectData(n.get(), path, size_t(f["size"].number), f["sha1"].string);
            EXPECT_EQ(TextAt(n.get(), "MimeType"), f["mime"].string);
            if (id == "GEOB") {
                EXPECT_EQ(TextAt(n.get(), "Extension"), f["filename"].string);
            }
        } else {
            EXPECT_EQ(TypeOf(n.get()), kTypeText) << path;
            EXPECT_EQ(TextAt(root_.get(), path.c_str()), Joined(f)) << path;
        }
    }
    EXPECT_GT(checked, 0);
}

INSTANTIATE_TEST_SUITE_P(Id3, FixtureProperties, ::testing::ValuesIn(FixtureCases()), FixtureName);

}  // namespace
}  // namespace tagvera::testing
