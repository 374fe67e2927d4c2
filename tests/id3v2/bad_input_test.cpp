// Damaged and hostile tags: the frame layer reads what can be read, says what it skipped, and the
// parser answers with the right result code; nothing crashes or reads past the bytes it has.
#include <gtest/gtest.h>

#include "id3v2/tag_builder.h"
#include "mp3_importer/tree_support.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/inflate.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tagvera/com_ptr.h"

namespace tagvera::testing {
namespace {

std::vector<std::string> Ids(const id3v2::Tag& tag) {
    std::vector<std::string> ids;
    for (const auto& f : tag.frames) ids.push_back(f.id);
    return ids;
}

TEST(BadInput, EmptyFilesAndZerosHaveNoTags) {
    for (const Bytes& bytes : {Bytes{}, Bytes(4096, 0), Bytes{'I', 'D', '3'}, B("ID3\x03\x00\x00\x80\x00\x00\x00")}) {
        const auto tags = ReadBytes(bytes);
        EXPECT_TRUE(tags.prepended.empty());
        EXPECT_EQ(tags.prependedSize, 0u);
        EXPECT_FALSE(tags.id3v1);
    }
}

// A tag claiming more than the file has is the parser's LinkFile failing, below.
TEST(BadInput, TheFrameWalkKeepsWhatItCanAndSaysWhatItSkipped) {
    const struct {
        const char* what;
        Bytes body;
        const char* kept;
        const char* skipped;
        uint32_t padding;
    } cases[] = {
        {"a frame larger than the tag", Frame23("TIT2", Latin1Text("ok")) + B("TALB") + Bytes{0, 0, 0x10, 0, 0, 0} + B("short"),
         "TIT2", "larger than", 0},
        {"an empty frame", Frame23("TIT2", {}) + Frame23("TALB", Latin1Text("a")) + Bytes(20, 0), "TALB", "empty frame", 20},
        {"garbage", Frame23("TIT2", Latin1Text("a")) + B("ab\x01\x02garbage-garbage"), "TIT2", "not a frame", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto tags = ReadBytes(Tag(3, 0, c.body) + Audio());
        ASSERT_EQ(tags.prepended.size(), 1u);
        EXPECT_EQ(Ids(tags.prepended[0]), std::vector<std::string>{c.kept});
        ASSERT_EQ(tags.prepended[0].skipped.size(), 1u);
        EXPECT_NE(tags.prepended[0].skipped[0].find(c.skipped), std::string::npos);
        EXPECT_EQ(tags.prepended[0].paddingSize, c.padding);
    }
}

TEST(BadInput, BogusEncodingIsReportedNotDecoded) {
    const auto tags = ReadBytes(Tag(3, 0, Frame23("TIT2", Bytes{9, 'x'})));
    ASSERT_EQ(tags.prepended[0].frames.size(), 1u);
    EXPECT_THROW(id3v2::DecodeFields(tags.prepended[0].frames[0]), Error);
    EXPECT_NE(id3v2::FramesJson(tags).find("\"error\": \"unknown text encoding 9\""), std::string::npos);
}

TEST(BadInput, FramesWithNothingInThemAreDroppedWhenNormalised) {
    const auto tags = ReadBytes(Tag(3, 0, Frame23("WOAR", Bytes{0, 'x'}) + Frame23("TIT2", Latin1Text("t"))));
    const auto normal = id3v2::NormalizeToV23(tags);
    ASSERT_EQ(normal.frames.size(), 1u);
    EXPECT_EQ(normal.frames[0].id, "TIT2");
    ASSERT_EQ(normal.dropped.size(), 1u);
    EXPECT_EQ(normal.dropped[0], "WOAR: no content");
}

TEST(BadInput, CompressedFramesAreBounded) {
    const Bytes text = Latin1Text(std::string(1000, 'z'));
    const Bytes packed = id3v2::Deflate(text);
    auto compressed = [&](uint32_t claimed, const Bytes& data) {
        Bytes p;
        PutU32(p, claimed);
        return Frame23("TIT2", p + data, 0x0080);
    };
    // Right claim: inflated. Claim too small, truncated stream, or a claim beyond the limit: skipped.
    auto tags = ReadBytes(Tag(3, 0, compressed(uint32_t(text.size()), packed)));
    ASSERT_EQ(tags.prepended[0].frames.size(), 1u);
    EXPECT_EQ(tags.prepended[0].frames[0].payload, text);
    for (const Bytes& frame : {compressed(10, packed), compressed(uint32_t(text.size()), Bytes(packed.begin(), packed.begin() + 8)),
                               compressed(0xFFFFFFF0u, packed)}) {
        tags = ReadBytes(Tag(3, 0, frame));
        EXPECT_TRUE(tags.prepended[0].frames.empty());
        EXPECT_EQ(tags.prepended[0].skipped.size(), 1u);
    }
    EXPECT_THROW(id3v2::InflateBounded(Bytes{1, 2, 3, 4}, 100), Error);
}

TEST(BadInput, PlainV24FrameSizesAreDetected) {
    const Bytes big = Latin1Text(std::string(300, 'a'));  // 301 bytes: synchsafe and plain differ
    const Bytes body = Frame24("TIT2", big, 0, true) + Frame24("TALB", Latin1Text("b"), 0, true);
    auto tags = ReadBytes(Tag(4, 0, body));
    EXPECT_TRUE(tags.prepended[0].plainFrameSizes);
    EXPECT_EQ(Ids(tags.prepended[0]), (std::vector<std::string>{"TIT2", "TALB"}));
    tags = ReadBytes(Tag(4, 0, Frame24("TIT2", big) + Frame24("TALB", Latin1Text("b"))));
    EXPECT_FALSE(tags.prepended[0].plainFrameSizes);
    EXPECT_EQ(tags.prepended[0].frames[0].payload, big);
}

TEST(BadInput, UnsynchronisationIsUndone) {
    const Bytes payload = Bytes{0, 'a', 0xFF, 0xE0, 'b', 0xFF};
    // v2.3: the whole body; v2.4: per frame (frame flag), data length indicator first.
    auto tags = ReadBytes(Tag(3, 0x80, Unsynchronise(Frame23("TIT2", payload))));
    EXPECT_EQ(tags.prepended[0].frames.at(0).payload, payload);
    Bytes dli;
    PutSynchsafe(dli, uint32_t(payload.size()));
    tags = ReadBytes(Tag(4, 0, Frame24("TIT2", dli + Unsynchronise(payload), 0x0003)));
    EXPECT_EQ(tags.prepended[0].frames.at(0).payload, payload);
}

TEST(BadInput, UnreadableTagsAreSkippedWithTheirSizeButNotTheFile) {
    // A broken extended header, then an unknown major version.
    for (const Bytes& tag : {Tag(3, 0x40, Bytes{0, 0, 0, 99} + Frame23("TIT2", Latin1Text("a"))),
                             Tag(5, 0, Frame24("TIT2", Latin1Text("a")))}) {
        const auto tags = ReadBytes(tag + Audio());
        EXPECT_TRUE(tags.prepended.empty());
        EXPECT_EQ(tags.prependedSize, tag.size());
        EXPECT_EQ(tags.skipped.size(), 1u);
    }
}

TEST(BadInput, FrameCountIsCapped) {
    Bytes body;
    for (int i = 0; i < 5000; ++i) body = body + Frame23("TXXX", Latin1Text("x"));
    const auto tags = ReadBytes(Tag(3, 0, body));
    EXPECT_EQ(tags.prepended[0].frames.size(), id3v2::ReadLimits{}.maxFrames);
}

class ParserBadInput : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CreateID3v2Parser(nullptr, parser_.put()), TV_S_OK); }
    ComPtr<IMPAID3v2Parser> parser_;
};

TEST_F(ParserBadInput, ResultCodes) {
    uint32_t size = 7;
    EXPECT_EQ(parser_->LinkFile("/nonexistent/file.mp3", &size, 0), TV_E_FAIL);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(parser_->LinkFile(::testing::TempDir().c_str(), &size, 0), TV_E_FAIL);
    EXPECT_EQ(parser_->LinkFile(nullptr, &size, 0), TV_E_POINTER);
    const std::string truncated = WriteTemp("truncated.mp3", Tag(3, 0, Frame23("TIT2", Latin1Text("x")), 9000));
    EXPECT_EQ(parser_->LinkFile(truncated.c_str(), &size, 0), TV_E_FAIL);

    // Not linked: every operation that needs a file fails.
    auto root = NewTree();
    EXPECT_EQ(parser_->ReadProperties(root.get()), TV_E_FAIL);
    EXPECT_EQ(parser_->ReadProperties(nullptr), TV_E_POINTER);
    EXPECT_EQ(parser_->SetTagOption(true), TV_E_FAIL);
    EXPECT_EQ(parser_->GetRenderedSize(&size), TV_E_FAIL);
    uint8_t byte = 0;
    EXPECT_EQ(parser_->GetFrameData(root.get(), &byte, 1), TV_E_FAIL);
    EXPECT_EQ(parser_->Update(0, 0), TV_E_FAIL);
    EXPECT_EQ(parser_->Strip(), TV_E_FAIL);

    for (const Bytes& bytes : {Bytes{}, Bytes(5000, 0)}) {
        const std::string path = WriteTemp("plain.mp3", bytes);
        ASSERT_EQ(parser_->LinkFile(path.c_str(), &size, 0), TV_S_OK);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(parser_->ReadProperties(root.get()), TV_S_OK);
        uint32_t count = 1;
        root->GetTotalChildCount(&count);
        EXPECT_EQ(count, 0u);
    }
}

TEST_F(ParserBadInput, DamagedFramesAreSkippedTheRestIsRead) {
    const Bytes body = Frame23("TIT2", Bytes{9, 'x'}) + Frame23("TPE1", Bytes{1, 'o', 'd', 'd'}) +
                       Frame23("TALB", Latin1Text("Album")) + Frame23("APIC", Bytes{0} + B("image/png")) +
                       Frame23("TCON", {});
    const Bytes tag = Tag(3, 0, body);
    const std::string path = WriteTemp("damaged.mp3", tag + Audio());
    uint32_t size = 0;
    ASSERT_EQ(parser_->LinkFile(path.c_str(), &size, 0), TV_S_OK);
    EXPECT_EQ(size, tag.size());
    auto root = NewTree();
    ASSERT_EQ(parser_->ReadProperties(root.get()), TV_S_OK);
    EXPECT_EQ(TextAt(root.get(), "Album:Name"), "Album");
    EXPECT_FALSE(NodeAt(root.get(), "Track:Name"));
    EXPECT_FALSE(NodeAt(root.get(), "Album:Cover Art")) << "fields past the payload";
    // Odd-length UTF-16 without BOM still gives a title of sorts, never broken text.
    EXPECT_TRUE(NodeAt(root.get(), "Artist:Name"));
}

TEST_F(ParserBadInput, RenderIntoAShortBuffer) {
    const std::string path = WriteTemp("render.mp3", Tag(4, 0, Frame24("TIT2", Utf8Text("Title"))) + Audio());
    uint32_t size = 0;
    ASSERT_EQ(parser_->LinkFile(path.c_str(), &size, 0), TV_S_OK);
    uint32_t rendered = 0;
    ASSERT_EQ(parser_->GetRenderedSize(&rendered), TV_S_OK);
    EXPECT_GT(rendered, 10u);
    std::vector<uint8_t> buffer(rendered);
    uint32_t written = 0;
    EXPECT_EQ(parser_->Render(buffer.data(), rendered - 1, &written, 0), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ(written, rendered);
    ASSERT_EQ(parser_->Render(buffer.data(), rendered, &written, 0), TV_S_OK);
    const auto tag = id3v2::ParseTag(buffer);
    EXPECT_EQ(tag.major, 3);
    ASSERT_EQ(tag.frames.size(), 1u);
    EXPECT_EQ(id3v2::DecodeFields(tag.frames[0]).values.at(0), "Title");
    // With the tag option on, the render leaves padding for the next edit.
    ASSERT_EQ(parser_->SetTagOption(true), TV_S_OK);
    uint32_t padded = 0;
    ASSERT_EQ(parser_->GetRenderedSize(&padded), TV_S_OK);
    EXPECT_GE(padded, rendered + 1024);
}

}  // namespace
}  // namespace tagvera::testing
