// The ID3v1 record: reading, merging into a tree, and building the record to write.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>

#include "tags/id3v1/lyrics3.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/tag_reader.h"
#include "mp3_importer/mp3_builder.h"
#include "mp3_importer/tree_support.h"
#include "mpeg/mpeg_test_support.h"
#include "platform/scratch_dir.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

using testing::NewTree;
using testing::NodeAt;
using testing::NumberAt;
using test::ReadAll;
using testing::TextAt;
using Bytes = std::vector<uint8_t>;

// An ID3v1.0 record from field values; text is Latin-1 bytes.
Id3v1Tag Record(const std::string& title, const std::string& artist, const std::string& album, const std::string& year,
                const std::string& comment, uint8_t genre) {
    Id3v1Tag tag;
    EXPECT_TRUE(ParseId3v1Tag(testing::Id3v1(title, artist, album, year, 0, genre, comment), &tag));
    return tag;
}

TEST(Id3v1Read, FilesWithoutATag) {
    Id3v1Tag tag;
    for (size_t size : {0u, 3u, 127u, 128u, 5000u}) {
        std::vector<uint8_t> bytes(size, 'T');
        MemorySource file(bytes);
        EXPECT_EQ(ReadId3v1Tag(file, &tag), TV_E_FAIL) << size;
    }
    const auto plain = testing::LoadFixture("cbr_96k_44k_notag");
    MemorySource file(plain);
    EXPECT_EQ(ReadId3v1Tag(file, &tag), TV_E_FAIL);
    auto tree = NewTree();
    EXPECT_EQ(MergeId3v1Tag(file, tree.get()), TV_E_FAIL);
    uint32_t count = 99;
    tree->GetTotalChildCount(&count);
    EXPECT_EQ(count, 0u) << "nothing merged";
    EXPECT_EQ(MergeId3v1Tag(file, nullptr), TV_E_POINTER);
    // Exactly a tag and nothing else is still a tag.
    const Id3v1Tag blank = BlankId3v1Tag();
    MemorySource only(blank.bytes);
    EXPECT_EQ(ReadId3v1Tag(only, &tag), TV_S_OK);
    EXPECT_EQ(tag.Genre(), 255);
}

TEST(Id3v1Read, FieldsStayInTheirBytesAndLoseOnlyTrailingSpaces) {
    const std::string thirty = "123456789012345678901234567890";
    const Id3v1Tag tag = Record(thirty, "  Lead  ", "A  B  ", "", "c" + std::string(29, ' '), 0);
    EXPECT_EQ(tag.Text(Id3v1Tag::kTitle), thirty) << "the artist field does not run into a full title";
    EXPECT_EQ(tag.Field(Id3v1Tag::kArtist, 30), "  Lead");
    EXPECT_EQ(tag.Field(Id3v1Tag::kAlbum, 30), "A  B");
    EXPECT_FALSE(tag.IsV11()) << "a trailing space in the track byte is trimmed away";
    const std::pair<const char*, uint32_t> years[] = {{"1999", 1999}, {"99  ", 99}, {"19x9", 19}, {"abcd", 0}, {"    ", 0}};
    for (const auto& [year, value] : years)
        EXPECT_EQ(Record("", "", "", year, "123", 0).Year(), value) << year << ": the comment does not run into it";

    Id3v1Tag track = Record("", "", "", "", std::string(28, 'c'), 0);
    track.bytes[126] = 200;
    EXPECT_TRUE(track.IsV11());
    EXPECT_EQ(track.Track(), 200);
    EXPECT_EQ(track.Text(Id3v1Tag::kComment), std::string(28, 'c'));
    track.bytes[125] = 'x';
    EXPECT_FALSE(track.IsV11());
    EXPECT_EQ(track.Track(), 0);
    EXPECT_EQ(track.Field(Id3v1Tag::kComment, 30).size(), 30u);
}

// Merging each fixture's record into the tree, Lyrics3 fields standing for the short ones
// included, is the importer's fixture test (SharedFixture).
TEST(Id3v1Merge, NeverReplacesWhatAnEarlierSourceSet) {
    Id3v1Tag tag = Record("V1 title", "V1 artist", "V1 album", "1999", "V1 comment", 17);
    tag.bytes[126] = 3;
    auto tree = NewTree();
    ASSERT_EQ(tree->AddText("Track:Name", "V2 title", 0, true, nullptr), TV_S_OK);
    ASSERT_EQ(tree->AddText("Track:Genre", "Jazz", 0, true, nullptr), TV_S_OK);
    ASSERT_EQ(tree->AddText("Track:CD Track #", "11", 0, true, nullptr), TV_S_OK);
    ASSERT_EQ(tree->AddNumber("Track:Year", 2020, 0, true, nullptr), TV_S_OK);
    // A value longer than the probe buffer still counts as held.
    const std::string longArtist(400, 'a');
    ASSERT_EQ(tree->AddText("Artist:Name", longArtist.c_str(), 0, true, nullptr), TV_S_OK);
    ASSERT_EQ(MergeId3v1Tag(tag, tree.get()), TV_S_OK);
    EXPECT_EQ(TextAt(tree.get(), "Track:Name"), "V2 title");
    EXPECT_EQ(TextAt(tree.get(), "Track:Genre"), "Jazz");
    EXPECT_EQ(TextAt(tree.get(), "Track:CD Track #"), "11");
    EXPECT_EQ(NumberAt(tree.get(), "Track:Year"), 2020u);
    EXPECT_EQ(TextAt(tree.get(), "Artist:Name"), longArtist);
    EXPECT_EQ(TextAt(tree.get(), "Album:Name"), "V1 album");
    EXPECT_EQ(TextAt(tree.get(), "Track:Comments"), "V1 comment");
}

TEST(Id3v1Merge, GenresAndTracksThatNameNothingSetNothing) {
    for (uint8_t genre : {uint8_t(255), uint8_t(148), uint8_t(254)}) {
        auto tree = NewTree();
        ASSERT_EQ(MergeId3v1Tag(Record("T", "", "", "0000", "", genre), tree.get()), TV_S_OK);
        EXPECT_FALSE(NodeAt(tree.get(), "Track:Genre")) << int(genre);
        EXPECT_FALSE(NodeAt(tree.get(), "Track:CD Track #"));
        EXPECT_FALSE(NodeAt(tree.get(), "Track:Year"));
        EXPECT_FALSE(NodeAt(tree.get(), "Artist:Name")) << "an empty field sets no property";
    }
    auto tree = NewTree();
    Id3v1Tag last = Record("", "", "", "", "", 147);
    last.bytes[126] = 200;
    ASSERT_EQ(MergeId3v1Tag(last, tree.get()), TV_S_OK);
    EXPECT_EQ(TextAt(tree.get(), "Track:Genre"), "Synthpop");
    EXPECT_EQ(TextAt(tree.get(), "Track:CD Track #"), "200");
}

// Every reader of the blocks at the end of a file sees a malformed Lyrics3 block the same way: no
// block, and the same reason; the file's tag reader lists it and reads the ID3v1 record behind it.
TEST(Lyrics3, AMalformedBlockIsNoBlockAndSaysWhy) {
    const std::string fields = "LYRICSBEGININD00002" "10";
    const struct {
        std::string block;
        const char* problem;  // empty: a good block, or none at all
    } cases[] = {
        {fields + "000021LYRICS200", ""},
        {fields + "000022LYRICS200", "Lyrics3 block without LYRICSBEGIN"},
        {"LYRICSBEGXNIND00002" "10" "000021LYRICS200", "Lyrics3 block without LYRICSBEGIN"},
        {fields + "999999LYRICS200", "Lyrics3 block beyond the file"},
        {fields + "00002xLYRICS200", "Lyrics3 size is not a number"},
        {"LYRICSBEGININD00099" "10" "000021LYRICS200", "Lyrics3 field beyond the block"},
        {"LYRICSBEGININD0000x" "10" "000021LYRICS200", "Lyrics3 field header broken"},
        {"lyrics, no begin marker" "LYRICSEND", "Lyrics3 v1 block without LYRICSBEGIN"},
        {"LYRICSBEGINla la" "LYRICSEND", ""},
        {"no block at all", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.block);
        const std::string audio = "audio";
        std::vector<uint8_t> bytes(audio.begin(), audio.end());
        bytes.insert(bytes.end(), c.block.begin(), c.block.end());
        MemorySource block(bytes);
        Lyrics3Tag tag;
        std::string problem = "stale";
        const bool v2 = ReadLyrics3v2Tag(block, bytes.size(), &tag, true, &problem);
        const bool found = v2 || (problem.empty() && ReadLyrics3v1Tag(block, bytes.size(), &tag, &problem));
        EXPECT_EQ(problem, c.problem);
        EXPECT_EQ(found, c.block.find("LYRICSBEGIN") == 0 && problem.empty());
        EXPECT_EQ(tag.offset, found ? audio.size() : 0);

        const auto record = testing::Id3v1("V1 Title");
        bytes.insert(bytes.end(), record.begin(), record.end());
        MemorySource file(bytes);
        const id3v2::FileTags tags = id3v2::ReadFileTags(file);
        EXPECT_TRUE(tags.id3v1);
        EXPECT_EQ(tags.lyrics3.has_value(), found);
        EXPECT_EQ(tags.skipped, *c.problem ? std::vector<std::string>{std::string("Lyrics3: ") + c.problem}
                                           : std::vector<std::string>{});
    }
    MemorySource empty{std::span<const uint8_t>{}};
    Lyrics3Tag tag;
    std::string problem;
    EXPECT_FALSE(ReadLyrics3v2Tag(empty, 3, &tag, true, &problem)) << "an end past the file";
    EXPECT_TRUE(problem.empty());
}

// A tree whose properties carry a change state, as the host hands it to the writer.
void Put(IMPAMetaProperty* tree, const char* path, const char* value, uint32_t changed = kChanged) {
    ComPtr<IMPAMetaProperty> node;
    ASSERT_EQ(tree->AddText(path, value, 0, true, node.put()), TV_S_OK);
    node->SetChanged(changed);
}

TEST(Id3v1Write, RendersChangedPropertiesInLatin1) {
    auto tree = NewTree();
    Put(tree.get(), "Track:Name", "Caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC");  // "Café 日本"
    Put(tree.get(), "Artist:Name", "An artist whose name is longer than thirty bytes");
    Put(tree.get(), "Album:Name", "Album");
    Put(tree.get(), "Track:Comments", "Comment");
    ComPtr<IMPAMetaProperty> year;
    ASSERT_EQ(tree->AddNumber("Track:Year", 1999, 0, true, year.put()), TV_S_OK);
    year->SetChanged(kChanged);
    Id3v1Tag record = BlankId3v1Tag();
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "Caf\xE9 ??");
    EXPECT_EQ(record.Field(Id3v1Tag::kArtist, 30), "An artist whose name is longer");
    EXPECT_NE(record.bytes[62], 0) << "a full field has no terminator";
    EXPECT_EQ(record.Field(Id3v1Tag::kAlbum, 30), "Album");
    EXPECT_EQ(record.Field(Id3v1Tag::kComment, 30), "Comment");
    EXPECT_EQ(record.Field(Id3v1Tag::kYear, 4), "1999");
    EXPECT_EQ(record.Genre(), 255) << "no genre property: the blank record's byte stays";
}

// Bytes 125 to 127 of a record preset with them, after an update from a tree of one property.
std::vector<uint8_t> TailAfter(const char* path, const char* value, uint32_t changed, bool force,
                               std::vector<uint8_t> preset) {
    auto tree = NewTree();
    Put(tree.get(), path, value, changed);
    Id3v1Tag record = BlankId3v1Tag();
    std::copy(preset.begin(), preset.end(), record.bytes.begin() + 125);
    EXPECT_EQ(UpdateId3v1FromTree(&record, tree.get(), force), TV_S_OK);
    return {record.bytes.begin() + 125, record.bytes.end()};
}

TEST(Id3v1Write, GenreBytes) {
    const std::pair<const char*, uint8_t> cases[] = {
        {"Rock", 17}, {"rock", 17}, {"Synthpop", 147}, {"No Such Genre", 255}, {"(17)", 17}, {"", 255}};
    const auto genre = [](const char* name, uint32_t changed = kChanged, bool force = false) {
        return TailAfter("Track:Genre", name, changed, force, {0, 0, 3})[2];
    };
    for (const auto& [name, expect] : cases) EXPECT_EQ(genre(name), expect) << name;
    EXPECT_EQ(genre("Rock", kDeleted), 255);
    EXPECT_EQ(genre("Rock", kUnchanged), 3) << "unchanged and not forced: left alone";
    EXPECT_EQ(genre("Rock", kUnchanged, true), 17);
}

TEST(Id3v1Write, TrackBytes) {
    const std::pair<const char*, uint8_t> cases[] = {{"12", 12}, {"120", 0}, {"3/12", 3}, {"100", 100},
                                                     {"0", 0},   {"x", 0},   {"07", 7}};
    const auto track = [](const char* value, uint32_t changed, std::vector<uint8_t> preset) {
        return TailAfter("Track:CD Track #", value, changed, false, preset);
    };
    for (const auto& [value, expect] : cases) EXPECT_EQ(track(value, kChanged, {'x', 'y', 9}), (Bytes{0, expect, 9})) << value;
    // Deleted: only an ID3v1.1 track goes.
    EXPECT_EQ(track("5", kDeleted, {0, 9, 255}), (Bytes{0, 0, 255}));
    EXPECT_EQ(track("5", kDeleted, {'a', 'b', 255}), (Bytes{'a', 'b', 255}));
}

TEST(Id3v1Write, DeletedClearsUnchangedKeepsForceRewritesOtherTypesClear) {
    Id3v1Tag record = Record("Old title", "Old artist", "Old album", "1980", "Old", 0);
    auto tree = NewTree();
    Put(tree.get(), "Track:Name", "New title", kDeleted);
    Put(tree.get(), "Artist:Name", "New artist", kUnchanged);
    ComPtr<IMPAMetaProperty> binary;
    const uint8_t blob[] = {1, 2, 3};
    ASSERT_EQ(tree->AddProperty("Track:Comments", kTypeBinary, 0, blob, 3, true, binary.put()), TV_S_OK);
    binary->SetChanged(kChanged);
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "");
    EXPECT_EQ(record.Field(Id3v1Tag::kArtist, 30), "Old artist");
    EXPECT_EQ(record.Field(Id3v1Tag::kComment, 30), "") << "a value that is not text or a number";
    EXPECT_EQ(record.Field(Id3v1Tag::kAlbum, 30), "Old album") << "absent properties leave fields alone";
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), true), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kArtist, 30), "New artist");
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "") << "deleted stays deleted under force";
}

TEST(Id3v1Write, AMergedRecordWrittenBackIsTheSameRecord) {
    const auto bytes = ReadAll(testing::Id3DataDir() + "/r_v1.mp3");
    MemorySource file(bytes);
    Id3v1Tag original;
    ASSERT_EQ(ReadId3v1Tag(file, &original), TV_S_OK);
    auto tree = NewTree();
    ASSERT_EQ(MergeId3v1Tag(original, tree.get()), TV_S_OK);
    Id3v1Tag rebuilt = BlankId3v1Tag();
    ASSERT_EQ(UpdateId3v1FromTree(&rebuilt, tree.get(), true), TV_S_OK);
    EXPECT_EQ(rebuilt.bytes, original.bytes);
}

TEST(Id3v1FileWrite, AppendsThenReplacesInPlace) {
    test::ScratchDir dir;
    const std::string path = dir.file("song.mp3");
    const auto audio = testing::LoadFixture("cbr_96k_44k_notag");
    test::WriteAll(path, audio);
    ASSERT_EQ(WriteId3v1Tag(path, Record("First", "", "", "", "", 17)), TV_S_OK);
    auto bytes = ReadAll(path);
    ASSERT_EQ(bytes.size(), audio.size() + 128);
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), bytes.begin())) << "the audio is untouched";
    ASSERT_EQ(WriteId3v1Tag(path, Record("Second", "", "", "", "", 13)), TV_S_OK);
    bytes = ReadAll(path);
    ASSERT_EQ(bytes.size(), audio.size() + 128);
    MemorySource file(bytes);
    Id3v1Tag back;
    ASSERT_EQ(ReadId3v1Tag(file, &back), TV_S_OK);
    EXPECT_EQ(back.Field(Id3v1Tag::kTitle, 30), "Second");
    EXPECT_EQ(back.Genre(), 13);
}

TEST(Id3v1FileWrite, FailsOnFilesThatCannotTakeATag) {
    test::ScratchDir dir;
    const std::string path = dir.file("song.mp3");
    EXPECT_EQ(WriteId3v1Tag(path, BlankId3v1Tag()), TV_E_FAIL) << "missing";
    test::WriteAll(path, {});
    EXPECT_EQ(WriteId3v1Tag(path, BlankId3v1Tag()), TV_E_FAIL) << "empty";
    const Id3v1Tag blank = BlankId3v1Tag();
    test::WriteAll(path, std::vector<uint8_t>(blank.bytes.begin(), blank.bytes.end()));
    EXPECT_EQ(WriteId3v1Tag(path, Record("Title", "", "", "", "", 1)), TV_E_FAIL) << "a tag and no audio before it";
    test::WriteAll(path, std::vector<uint8_t>(500, 7));
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(WriteId3v1Tag(path, BlankId3v1Tag()), TV_E_FAIL) << "read-only";
    EXPECT_EQ(ReadAll(path), std::vector<uint8_t>(500, 7));
}

}  // namespace
}  // namespace tagvera
