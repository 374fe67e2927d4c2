// The three tag sources of an MP3 file, the jukebox frame (K1), ID3v2 (V2) and ID3v1 (V1), holding
// the same properties with different values: which wins under each "TagReadPriority", what a
// source left out of the list does not add, and where on-demand data comes from.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mp3_importer/importer_support.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

// The jukebox's copy: title and artist, and a cover of its own.
Bytes JukeboxBlock(const Bytes& cover = {}) {
    auto tree = HostTree();
    tree->AddText("Track:Name", "K1 Title", 0, true, nullptr);
    tree->AddText("Artist:Name", "K1 Artist", 0, true, nullptr);
    if (!cover.empty())
        tree->AddProperty("Album:Cover Art", kTypeDataReference, 0, cover.data(), uint32_t(cover.size()), true,
                          nullptr);
    return BlockOf(tree.get());
}

// K1 holds title and artist; V2 title, album and a cover; V1 title, artist, album, comment, genre.
Bytes ThreeSourceFile(const Bytes& jukeboxFrameData, const Bytes& v2Cover = {}) {
    Bytes frames = TextFrame("TIT2", "V2 Title") + TextFrame("TALB", "V2 Album");
    if (!v2Cover.empty()) frames = frames + PictureFrame(v2Cover);
    frames = frames + JukeboxFrame(jukeboxFrameData);
    return Mp3File(frames, Id3v1("V1 Title", "V1 Artist", "V1 Album", "2001", 0, 17, "V1 Comment"));
}

struct Case {
    const char* priority;  // null: no value, the default
    const char* title;     // "" where no source gives one
    const char* artist;
    const char* album;
    const char* comment;
};

class TagReadPriority : public ::testing::TestWithParam<Case> {};

TEST_P(TagReadPriority, FirstListedSourceWins) {
    const Case& c = GetParam();
    test::ScratchDir dir;
    const std::string path = dir.write("three.mp3", ThreeSourceFile(JukeboxBlock()));
    PreferencesFile prefs(ReadPriority(c.priority));
    const auto got = Interrogate(path);
    ASSERT_EQ(got.open, TV_S_OK);
    ASSERT_EQ(got.result, TV_S_OK);
    EXPECT_EQ(got.text("Track:Name"), c.title);
    EXPECT_EQ(got.text("Artist:Name"), c.artist);
    EXPECT_EQ(got.text("Album:Name"), c.album);
    EXPECT_EQ(got.text("Track:Comments"), c.comment);
    EXPECT_FALSE(got.has("KorvaJukebox"));
    // The statistics are there whatever the tags.
    EXPECT_EQ(got.text("Statistics:MimeType"), "audio/mp3");
}

const Case kCases[] = {
    {nullptr, "K1 Title", "K1 Artist", "V2 Album", "V1 Comment"},
    {"K1,V2,V1", "K1 Title", "K1 Artist", "V2 Album", "V1 Comment"},
    {"V2,K1,V1", "V2 Title", "K1 Artist", "V2 Album", "V1 Comment"},
    {"V2,V1,K1", "V2 Title", "V1 Artist", "V2 Album", "V1 Comment"},
    {"V1,V2,K1", "V1 Title", "V1 Artist", "V1 Album", "V1 Comment"},
    {"K1,V1,V2", "K1 Title", "K1 Artist", "V1 Album", "V1 Comment"},
    {"V2", "V2 Title", "", "V2 Album", ""},
    {"K1", "K1 Title", "K1 Artist", "", ""},
    {"V1", "V1 Title", "V1 Artist", "V1 Album", "V1 Comment"},
    {"", "", "", "", ""},
    // Only the first three items count; an unknown one uses up its place.
    {"X,V1,K1,V2", "V1 Title", "V1 Artist", "V1 Album", "V1 Comment"},
    // Names are compared exactly.
    {"v2,K1", "K1 Title", "K1 Artist", "", ""},
    {"K1 ,V2", "V2 Title", "", "V2 Album", ""},
};
INSTANTIATE_TEST_SUITE_P(Orders, TagReadPriority, ::testing::ValuesIn(kCases));

TEST(JukeboxFrame, NeverShowsEvenWhenItDoesNotParseButOtherObjectFramesDo) {
    test::ScratchDir dir;
    PreferencesFile prefs("");
    const Bytes bad[] = {B("not a block at all, but long enough to look"), B("KJMD"),
                         B("KJMD") + Bytes(60, 0xFF)};
    for (const Bytes& data : bad) {
        const std::string path = dir.write("bad.mp3", ThreeSourceFile(data));
        const auto got = Interrogate(path);
        ASSERT_EQ(got.result, TV_S_OK);
        EXPECT_FALSE(got.has("KorvaJukebox"));
        // The other sources still count.
        EXPECT_EQ(got.text("Track:Name"), "V2 Title");
        EXPECT_EQ(got.text("Artist:Name"), "V1 Artist");
    }
    // A frame of that description that is not binary at all; another object frame beside it stays.
    const std::string path = dir.file("text.mp3");
    test::WriteAll(path, Mp3File(TextFrame("TIT2", "Title") + GeobFrame("text/plain", "a.txt", "KorvaJukebox:Metadata",
                                                                          B("hello")) +
                                 GeobFrame("binary", "", "Studio:Session", B("abc"))));
    const auto got = Interrogate(path);
    ASSERT_EQ(got.result, TV_S_OK);
    EXPECT_FALSE(got.has("KorvaJukebox"));
    EXPECT_EQ(got.text("Track:Name"), "Title");
    EXPECT_TRUE(got.has("Studio:Session"));
}

// Where on-demand data comes from: the cover in both the jukebox frame and an APIC frame (with
// different bytes), or in the APIC frame alone, which is asked after the jukebox frame has none.
TEST(PropertyData, ComesFromTheSourceThePreferencePutsFirstWhenTheFileWasOpened) {
    const Bytes k1Cover = test::Pattern(3000, 1);
    const Bytes v2Cover = test::Pattern(4000, 2);
    test::ScratchDir dir;
    const std::string both = dir.write("covers.mp3", ThreeSourceFile(JukeboxBlock(k1Cover), v2Cover));
    const std::string apic = dir.write("apic.mp3", ThreeSourceFile(JukeboxBlock(), v2Cover));
    struct Order {
        const std::string* file;
        const char* priority;
        const Bytes* expected;
    } orders[] = {{&both, nullptr, &k1Cover},    {&both, "K1,V2,V1", &k1Cover}, {&both, "V1,K1,V2", &k1Cover},
                  {&both, "V2,K1,V1", &v2Cover}, {&both, "V1,V2", &v2Cover},    {&apic, nullptr, &v2Cover}};
    Interrogation got;
    for (const Order& order : orders) {
        SCOPED_TRACE(*order.file + " " + (order.priority ? order.priority : "default"));
        PreferencesFile prefs(ReadPriority(order.priority));
        got = Interrogate(*order.file);
        ASSERT_EQ(got.result, TV_S_OK);
        auto cover = NodeAt(got.tree.get(), "Album:Cover Art");
        ASSERT_TRUE(cover);
        EXPECT_EQ(NumberAt(cover.get(), "DataSize"), order.expected->size());
        // The data follows the order the tree was read in, whatever the preference says by now.
        PreferencesFile changed(ReadPriority(order.expected == &k1Cover ? "V2,K1" : "K1,V2"));
        Bytes buffer(order.expected->size());
        ASSERT_EQ(got.handler()->GetPropertyData(cover.get(), buffer.data(), uint32_t(buffer.size())), TV_S_OK);
        EXPECT_EQ(buffer, *order.expected);
        const std::string saved = dir.file("cover.out");
        ASSERT_EQ(got.handler()->SavePropertyData(cover.get(), saved.c_str()), TV_S_OK);
        EXPECT_EQ(test::ReadAll(saved), *order.expected);
    }
    EXPECT_EQ(TextAt(NodeAt(got.tree.get(), "Album:Cover Art").get(), "MimeType"), "image/jpeg");
    // A property neither source serves: a value of the tree, and a reference of a path neither holds.
    auto title = NodeAt(got.tree.get(), "Track:Name");
    ASSERT_TRUE(title);
    EXPECT_EQ(got.handler()->SavePropertyData(title.get(), dir.file("title.txt").c_str()), TV_E_NOTIMPL);
    Bytes buffer(100);
    auto stranger = HostTree();
    ComPtr<IMPAMetaProperty> back;
    ASSERT_EQ(stranger->AddProperty("Album:Back Cover", kTypeReference, 0, nullptr, 0, true, back.put()), TV_S_OK);
    back->AddNumber("DataSize", 10, 0, true, nullptr);
    EXPECT_TRUE(Failed(got.handler()->GetPropertyData(back.get(), buffer.data(), uint32_t(buffer.size()))));
}

}  // namespace
}  // namespace tagvera::testing
