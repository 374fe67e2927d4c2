// Tag structures the fixtures do not cover: a v2.4 tag appended at the end, Lyrics3 v1, grouped
// and encrypted frames, the prepended size of tags in a row, v2.2 frames with no later spelling.
#include <gtest/gtest.h>

#include <algorithm>

#include "id3v2/tag_builder.h"
#include "mp3_importer/mp3_builder.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/trailing_tags.h"

namespace tagvera::testing {
namespace {

TEST(TagReader, AppendedV24TagIsFoundByItsFooter) {
    const Bytes body = Frame24("TIT2", Utf8Text("At the end"));
    Bytes tag = Tag(4, 0x10, body);
    Bytes footer = B("3DI") + Bytes(tag.begin() + 3, tag.begin() + 10);
    const auto tags = ReadBytes(Audio() + tag + footer + Id3v1("v1 title", "", "", "", 5, 17));
    ASSERT_TRUE(tags.appended);
    EXPECT_TRUE(tags.prepended.empty());
    EXPECT_EQ(tags.appended->offset, Audio().size());
    ASSERT_EQ(tags.appended->frames.size(), 1u);
    ASSERT_TRUE(tags.id3v1);
    EXPECT_EQ(tags.id3v1->Track(), 5);
    // The report lists the appended tag, and normalising keeps its frames before ID3v1's.
    EXPECT_NE(id3v2::FramesJson(tags).find("\"At the end\""), std::string::npos);
    id3v2::NormalizeOptions options;
    options.trailingFields = true;
    const auto normal = id3v2::NormalizeToV23(tags, options);
    ASSERT_FALSE(normal.frames.empty());
    EXPECT_EQ(id3v2::DecodeFields(normal.frames[0]).values.at(0), "At the end");
    size_t titles = 0;
    for (const auto& f : normal.frames) titles += f.id == "TIT2";
    EXPECT_EQ(titles, 1u);
}

TEST(TagReader, Lyrics3Version1) {
    const auto tags = ReadBytes(Audio() + B("LYRICSBEGINline one\r\nline two") + B("LYRICSEND") + Id3v1("t"));
    ASSERT_TRUE(tags.lyrics3);
    EXPECT_EQ(tags.lyrics3->version, 1);
    EXPECT_EQ(tags.lyrics3->offset, Audio().size());
    const auto frames = id3v2::FramesFromTrailingTags(tags);
    const auto lyrics = std::find_if(frames.begin(), frames.end(), [](const auto& f) { return f.id == "USLT"; });
    ASSERT_NE(lyrics, frames.end());
    EXPECT_EQ(id3v2::DecodeFields(*lyrics).values.at(0), "line one\nline two");
    EXPECT_EQ(id3v2::Id3v1VersionText(tags), "1.0");
}

TEST(TagReader, GroupedAndEncryptedFrames) {
    // v2.3: group byte after the header; encrypted frames stay as they are.
    const Bytes body = Frame23("TIT2", Bytes{0x42} + Latin1Text("grouped"), 0x0020) +
                       Frame23("TALB", Bytes{0x80} + Bytes{9, 9, 9}, 0x0040);
    auto tags = ReadBytes(Tag(3, 0, body));
    ASSERT_EQ(tags.prepended[0].frames.size(), 2u);
    const auto& grouped = tags.prepended[0].frames[0];
    EXPECT_EQ(grouped.group, uint8_t(0x42));
    EXPECT_EQ(id3v2::DecodeFields(grouped).values.at(0), "grouped");
    const auto& secret = tags.prepended[0].frames[1];
    EXPECT_TRUE(secret.encrypted);
    EXPECT_EQ(secret.encryptionMethod, 0x80);
    EXPECT_EQ(id3v2::DecodeFields(secret).kind, id3v2::FrameKind::Binary);
    EXPECT_NE(id3v2::FramesJson(tags).find("\"encryption_method\": 128"), std::string::npos);
    // Neither goes to the tag library, and both survive its render.
    id3v2::Id3libTag lib;
    lib.Load(id3v2::NormalizeToV23(tags).frames);
    EXPECT_EQ(lib.AsideIds().size(), 2u);
    const auto back = id3v2::ParseTag(lib.Render(0));
    ASSERT_EQ(back.frames.size(), 2u);
    EXPECT_EQ(back.frames[0].group, uint8_t(0x42));
    EXPECT_TRUE(back.frames[1].encrypted);
    EXPECT_EQ(back.frames[1].payload, (Bytes{9, 9, 9}));
}

TEST(TagReader, TagsInARowAllCountBeforeTheAudio) {
    const Bytes first = Tag(3, 0, Frame23("TIT2", Latin1Text("one")) + Bytes(30, 0));
    const Bytes second = Tag(4, 0, Frame24("TALB", Latin1Text("two")));
    const auto tags = ReadBytes(first + second + Audio());
    ASSERT_EQ(tags.prepended.size(), 2u);
    EXPECT_EQ(tags.prependedSize, first.size() + second.size());
    EXPECT_EQ(tags.prepended[1].offset, first.size());
    const auto normal = id3v2::NormalizeToV23(tags);
    ASSERT_EQ(normal.frames.size(), 2u);
    EXPECT_EQ(normal.frames[1].id, "TALB");
}

// PIC and the text frames of v2.2 in their later spelling are the v2.2 fixtures'.
TEST(TagReader, V22FramesWithoutALaterSpellingAreSkipped) {
    const auto tags = ReadBytes(Tag(2, 0, Frame22("TT2", Latin1Text("t")) + Frame22("ZZZ", Bytes{1})));
    ASSERT_EQ(tags.prepended[0].frames.size(), 1u);
    EXPECT_EQ(tags.prepended[0].skipped.size(), 1u);
}

}  // namespace
}  // namespace tagvera::testing
