// Every ID3 fixture through CMPAID3v2Parser: each frame the frame map reads shows up in the
// property tree under its name with the fixture's value, and on-demand data comes back intact.
#include <gtest/gtest.h>

#include <set>

#include "id3v2/fixture_list.h"
#include "id3v2/json_value.h"
#include "metaprop/metaprop_component.h"
#include "tags/id3v2/sha1.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

struct Node {
    ComPtr<IMPAMetaProperty> p;
    uint32_t type() const {
        uint32_t t = 0;
        p->GetType(&t);
        return t;
    }
    std::vector<uint8_t> value() const {
        const uint8_t* d = nullptr;
        uint32_t n = 0;
        if (Failed(p->GetValue(&d, &n))) return {};
        return {d, d + n};
    }
    std::string text() const {
        auto v = value();
        if (!v.empty() && v.back() == 0) v.pop_back();
        return {v.begin(), v.end()};
    }
    uint32_t number() const {
        auto v = value();
        return v.size() == 4 ? uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24 : 0;
    }
    Node child(const char* name) const {
        Node c;
        p->FindFirstChild(name, c.p.put());
        return c;
    }
};

Node Find(IMPAMetaProperty* root, const std::string& path) {
    Node n;
    root->FindFirstChild(path.c_str(), n.p.put());
    return n;
}

std::string Joined(const Json& frame) {
    std::string s;
    for (const auto& t : frame["text"].strings()) s += (s.empty() ? "" : "/") + t;
    return s;
}

TEST(Id3Fixtures, AreAllThere) { EXPECT_GE(FixtureBasesIn(Id3DataDir()).size(), 35u) << Id3DataDir(); }

class FixtureProperties : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (const std::string why = SkipReason(GetParam()); !why.empty()) GTEST_SKIP() << why;
        ASSERT_EQ(CreateID3v2Parser(nullptr, parser_.put()), TV_S_OK);
        ASSERT_EQ(CreateStandaloneMetaProperty(root_.put()), TV_S_OK);
        uint32_t tagSize = 0;
        // ID3v1 and Lyrics3 fields too, so that the fixtures without ID3v2 tags count as well.
        ASSERT_EQ(parser_->LinkFile((GetParam() + ".mp3").c_str(), &tagSize, kLinkTrailingTags), TV_S_OK);
        ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    }

    void ExpectFrameId(const Node& n, const char* id, const std::string& path) {
        const Node fid = n.child(id3v2::kFrameIdProperty);
        ASSERT_TRUE(fid.p) << path;
        EXPECT_EQ(fid.type(), kTypeBinary);
        uint32_t flags = 0;
        fid.p->GetFlags(&flags);
        EXPECT_EQ(flags, kFlagPrivate);
        EXPECT_EQ(fid.number(), id3v2::FrameNumber(id)) << path;
    }

    void ExpectData(const Node& n, const std::string& path, size_t size, const std::string& sha1) {
        ASSERT_EQ(n.type(), kTypeReference) << path;
        EXPECT_EQ(n.child("DataSize").number(), size) << path;
        std::vector<uint8_t> buffer(size + 1);
        ASSERT_EQ(parser_->GetFrameData(n.p.get(), buffer.data(), uint32_t(buffer.size())), TV_S_OK) << path;
        buffer.resize(size);
        if (!sha1.empty()) {
            EXPECT_EQ(id3v2::Sha1Hex(buffer), sha1) << path;
        }
        if (size > 0) {
            EXPECT_EQ(parser_->GetFrameData(n.p.get(), buffer.data(), uint32_t(size - 1)), TV_E_BUFFERTOOSMALL);
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
        const std::string id = f["id"].string;
        std::string path;
        if (id == "TIT2") path = "Track:Name";
        else if (id == "TPE1") path = "Artist:Name";
        else if (id == "TALB") path = "Album:Name";
        else if (id == "TRCK") path = "Track:CD Track #";
        else if (id == "TYER" || id == "TDRC") path = "Track:Year";
        else if (id == "TCON") path = "Track:Genre";
        else if (id == "COMM") path = "Track:Comments";
        else if (id == "USLT") path = "Track:Lyrics";
        else if (id == "TXXX") path = "Track:" + f["desc"].string;
        else if (id == "APIC" && f["type"].number == 3) path = "Album:Cover Art";
        else if (id == "GEOB") path = "Track:" + f["desc"].string;
        else continue;
        if (!seen.insert(path).second) continue;
        const Node n = Find(root_.get(), path);
        ASSERT_TRUE(n.p) << path;
        ++checked;
        ExpectFrameId(n, id == "TDRC" ? "TYER" : id.c_str(), path);
        if (id == "TYER" || id == "TDRC") {
            EXPECT_EQ(n.type(), kTypeNumber);
            EXPECT_EQ(n.number(), uint32_t(std::stoul(f["text"].array[0].string.substr(0, 4))));
        } else if (id == "TCON") {
            std::set<std::string> ok{Joined(f)};
            if (f.has("alt"))
                for (const auto& a : f["alt"].strings()) ok.insert(a);
            EXPECT_TRUE(ok.count(n.text())) << n.text();
        } else if (id == "USLT") {
            const std::string lyrics = f["text"].array[0].string;
            ExpectData(n, path, lyrics.size() + 1, "");
            std::vector<char> buf(lyrics.size() + 1);
            ASSERT_EQ(parser_->GetFrameData(n.p.get(), reinterpret_cast<uint8_t*>(buf.data()), uint32_t(buf.size())), TV_S_OK);
            EXPECT_EQ(std::string(buf.data()), lyrics);
        } else if (id == "APIC") {
            ExpectData(n, path, size_t(f["size"].number), f["sha1"].string);
            EXPECT_EQ(n.child("MimeType").text(), f["mime"].string);
        } else if (id == "GEOB") {
            ExpectData(n, path, size_t(f["size"].number), f["sha1"].string);
            EXPECT_EQ(n.child("MimeType").text(), f["mime"].string);
            EXPECT_EQ(n.child("Extension").text(), f["filename"].string);
        } else {
            EXPECT_EQ(n.type(), kTypeText) << path;
            EXPECT_EQ(n.text(), Joined(f)) << path;
        }
    }
    EXPECT_GT(checked, 0);
}

INSTANTIATE_TEST_SUITE_P(Id3, FixtureProperties, ::testing::ValuesIn(FixtureCases()), FixtureName);

}  // namespace
}  // namespace tagvera::testing
