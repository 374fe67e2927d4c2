// The ID3v1 record: reading, merging into a tree, and building the record to write.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "metaprop/metaprop_component.h"
#include "mp3/id3v1_lyrics3.h"
#include "mp3/id3v1_map.h"
#include "mp3/id3v1_tag.h"
#include "mpeg/mpeg_test_support.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

using testing::ReadWholeFile;

// A record from field values; text is Latin-1 bytes.
Id3v1Tag Record(const std::string& title, const std::string& artist, const std::string& album, const std::string& year,
                const std::string& comment, uint8_t genre) {
    std::array<uint8_t, 128> b{};
    std::memcpy(b.data(), "TAG", 3);
    auto put = [&](size_t at, const std::string& s, size_t width) { std::memcpy(&b[at], s.data(), std::min(s.size(), width)); };
    put(3, title, 30);
    put(33, artist, 30);
    put(63, album, 30);
    put(93, year, 4);
    put(97, comment, 30);
    b[127] = genre;
    Id3v1Tag tag;
    EXPECT_TRUE(ParseId3v1Tag(b, &tag));
    return tag;
}

ComPtr<IMPAMetaProperty> NewTree() {
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(CreateStandaloneMetaProperty(tree.put()), TV_S_OK);
    return tree;
}

std::string Text(IMPAMetaProperty* tree, const char* path) {
    ComPtr<IMPAMetaProperty> node;
    if (Failed(tree->FindFirstChild(path, node.put()))) return "<missing>";
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size))) return "<empty>";
    return std::string(reinterpret_cast<const char*>(data), strnlen(reinterpret_cast<const char*>(data), size));
}

bool Has(IMPAMetaProperty* tree, const char* path) {
    ComPtr<IMPAMetaProperty> node;
    return Succeeded(tree->FindFirstChild(path, node.put()));
}

uint32_t Number(IMPAMetaProperty* tree, const char* path) {
    ComPtr<IMPAMetaProperty> node;
    if (Failed(tree->FindFirstChild(path, node.put()))) return 0xDEAD;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    uint32_t type = 0;
    node->GetType(&type);
    if (type != kTypeNumber || Failed(node->GetValue(&data, &size)) || size != 4) return 0xBAD;
    return uint32_t(data[0]) | uint32_t(data[1]) << 8 | uint32_t(data[2]) << 16 | uint32_t(data[3]) << 24;
}

TEST(Id3v1Read, SharedFixtures) {
    struct Case {
        const char* file;
        const char* title;
        const char* comment;
        uint32_t year;
        uint8_t track;
        uint8_t genre;
    } cases[] = {
        {"r_v1.mp3", "V1 Title Caf\xC3\xA9", "V1 comment", 1999, 0, 17},
        {"r_v11.mp3", "V1.1 Title", "short comment", 2001, 7, 13},
        {"r_v23_plus_v11.mp3", "V1.1 Title", "short comment", 2001, 7, 13},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        const auto bytes = ReadWholeFile(testing::SharedId3Dir() + "/" + c.file);
        MemorySource file(bytes);
        Id3v1Tag tag;
        ASSERT_EQ(ReadId3v1Tag(file, &tag), TV_S_OK);
        EXPECT_EQ(tag.Text(Id3v1Tag::kTitle), c.title);
        EXPECT_EQ(tag.Text(Id3v1Tag::kArtist), "V1 Artist");
        EXPECT_EQ(tag.Text(Id3v1Tag::kAlbum), "V1 Album");
        EXPECT_EQ(tag.Text(Id3v1Tag::kComment), c.comment);
        EXPECT_EQ(tag.Year(), c.year);
        EXPECT_EQ(tag.IsV11(), c.track != 0);
        EXPECT_EQ(tag.Track(), c.track);
        EXPECT_EQ(tag.Genre(), c.genre);
    }
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
    // Exactly a tag and nothing else is still a tag.
    const Id3v1Tag blank = BlankId3v1Tag();
    MemorySource only(blank.bytes);
    EXPECT_EQ(ReadId3v1Tag(only, &tag), TV_S_OK);
    EXPECT_EQ(tag.Genre(), 255);
}

TEST(Id3v1Read, TrimsTrailingSpacesOnly) {
    const Id3v1Tag tag = Record("Rock   ", "  Lead", "A  B  ", "99  ", "Note", 0);
    EXPECT_EQ(tag.Field(Id3v1Tag::kTitle, 30), "Rock");
    EXPECT_EQ(tag.Field(Id3v1Tag::kArtist, 30), "  Lead");
    EXPECT_EQ(tag.Field(Id3v1Tag::kAlbum, 30), "A  B");
    EXPECT_EQ(tag.Year(), 99u);
    // A record padded with spaces throughout, as old taggers wrote it.
    const Id3v1Tag padded = Record(std::string(30, ' '), "X" + std::string(29, ' '), "", "    ",
                                   "c" + std::string(29, ' '), 12);
    EXPECT_EQ(padded.Field(Id3v1Tag::kTitle, 30), "");
    EXPECT_EQ(padded.Field(Id3v1Tag::kArtist, 30), "X");
    EXPECT_EQ(padded.Year(), 0u);
    EXPECT_FALSE(padded.IsV11()) << "a trailing space in the track byte is trimmed away";
}

TEST(Id3v1Read, AThirtyCharacterTitleIsReadWhole) {
    const std::string thirty = "123456789012345678901234567890";
    const Id3v1Tag tag = Record(thirty, "", "", "", "", 0);
    EXPECT_EQ(tag.Text(Id3v1Tag::kTitle), thirty);
    EXPECT_EQ(tag.Field(Id3v1Tag::kTitle, 30), thirty) << "the artist field does not run into it";
}

TEST(Id3v1Read, TheYearIsItsOwnFourBytes) {
    const Id3v1Tag tag = Record("", "", "", "1999", "123", 0);
    EXPECT_EQ(tag.Year(), 1999u);
    EXPECT_EQ(Record("", "", "", "19x9", "", 0).Year(), 19u);
    EXPECT_EQ(Record("", "", "", "abcd", "", 0).Year(), 0u);
}

TEST(Id3v1Read, TrackBytes) {
    std::string comment(28, 'c');
    Id3v1Tag tag = Record("", "", "", "", comment, 0);
    tag.bytes[125] = 0;
    tag.bytes[126] = 200;
    EXPECT_TRUE(tag.IsV11());
    EXPECT_EQ(tag.Track(), 200);
    EXPECT_EQ(tag.Text(Id3v1Tag::kComment), comment);
    tag.bytes[125] = 'x';
    EXPECT_FALSE(tag.IsV11());
    EXPECT_EQ(tag.Track(), 0);
    EXPECT_EQ(tag.Field(Id3v1Tag::kComment, 30).size(), 30u);
}

TEST(Id3v1Merge, FillsTheStandardProperties) {
    Id3v1Tag tag = Record("Caf\xE9 Title", "Artist", "Album", "2004", "Comment", 17);
    tag.bytes[126] = 7;
    auto tree = NewTree();
    ASSERT_EQ(MergeId3v1Tag(tag, tree.get()), TV_S_OK);
    EXPECT_EQ(Text(tree.get(), "Track:Name"), "Caf\xC3\xA9 Title");
    EXPECT_EQ(Text(tree.get(), "Artist:Name"), "Artist");
    EXPECT_EQ(Text(tree.get(), "Album:Name"), "Album");
    EXPECT_EQ(Text(tree.get(), "Track:Comments"), "Comment");
    EXPECT_EQ(Text(tree.get(), "Track:Genre"), "Rock");
    EXPECT_EQ(Text(tree.get(), "Track:CD Track #"), "07");
    EXPECT_EQ(Number(tree.get(), "Track:Year"), 2004u);
}

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
    EXPECT_EQ(Text(tree.get(), "Track:Name"), "V2 title");
    EXPECT_EQ(Text(tree.get(), "Track:Genre"), "Jazz");
    EXPECT_EQ(Text(tree.get(), "Track:CD Track #"), "11");
    EXPECT_EQ(Number(tree.get(), "Track:Year"), 2020u);
    EXPECT_EQ(Text(tree.get(), "Artist:Name"), longArtist);
    EXPECT_EQ(Text(tree.get(), "Album:Name"), "V1 album");
    EXPECT_EQ(Text(tree.get(), "Track:Comments"), "V1 comment");
}

TEST(Id3v1Merge, GenresAndTracksThatNameNothingSetNothing) {
    for (uint8_t genre : {uint8_t(255), uint8_t(148), uint8_t(254)}) {
        auto tree = NewTree();
        ASSERT_EQ(MergeId3v1Tag(Record("T", "", "", "0000", "", genre), tree.get()), TV_S_OK);
        EXPECT_FALSE(Has(tree.get(), "Track:Genre")) << int(genre);
        EXPECT_FALSE(Has(tree.get(), "Track:CD Track #"));
        EXPECT_FALSE(Has(tree.get(), "Track:Year"));
        EXPECT_FALSE(Has(tree.get(), "Artist:Name")) << "an empty field sets no property";
    }
    auto tree = NewTree();
    ASSERT_EQ(MergeId3v1Tag(Record("", "", "", "", "", 147), tree.get()), TV_S_OK);
    EXPECT_EQ(Text(tree.get(), "Track:Genre"), "Synthpop");
    Id3v1Tag track200 = Record("", "", "", "", "", 0);
    track200.bytes[126] = 200;
    ASSERT_EQ(MergeId3v1Tag(track200, tree.get()), TV_S_OK);
    EXPECT_EQ(Text(tree.get(), "Track:CD Track #"), "200");
}

TEST(Id3v1Merge, FromFilesWithAndWithoutATag) {
    auto tree = NewTree();
    const auto v11 = ReadWholeFile(testing::SharedId3Dir() + "/r_v11.mp3");
    MemorySource file(v11);
    ASSERT_EQ(MergeId3v1Tag(file, tree.get()), TV_S_OK);
    EXPECT_EQ(Text(tree.get(), "Track:Name"), "V1.1 Title");
    EXPECT_EQ(Text(tree.get(), "Track:Genre"), "Pop");
    EXPECT_EQ(Text(tree.get(), "Track:CD Track #"), "07");
    EXPECT_EQ(Number(tree.get(), "Track:Year"), 2001u);

    auto empty = NewTree();
    const auto plain = testing::LoadFixture("cbr_96k_44k_notag");
    MemorySource none(plain);
    EXPECT_EQ(MergeId3v1Tag(none, empty.get()), TV_E_FAIL);
    uint32_t count = 99;
    empty->GetTotalChildCount(&count);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(MergeId3v1Tag(none, nullptr), TV_E_POINTER);
}

TEST(Id3v1Merge, Lyrics3ExtendedFieldsStandForTheShortOnes) {
    const auto bytes = ReadWholeFile(testing::SharedId3Dir() + "/r_lyrics3v2.mp3");
    MemorySource file(bytes);
    Lyrics3v2Tag lyrics3;
    ASSERT_TRUE(ReadLyrics3v2Tag(file, bytes.size() - 128, &lyrics3));
    ASSERT_NE(lyrics3.Find("ETT"), nullptr);
    EXPECT_EQ(*lyrics3.Find("ETT"), "Lyrics3 Title");
    EXPECT_EQ(*lyrics3.Find("LYR"), "[00:01]Lyrics line one\r\n[00:02]line two");
    EXPECT_EQ(lyrics3.offset + lyrics3.size, bytes.size() - 128);

    auto tree = NewTree();
    ASSERT_EQ(MergeId3v1Tag(file, tree.get()), TV_S_OK);
    EXPECT_EQ(Text(tree.get(), "Track:Name"), "Lyrics3 Title");
    EXPECT_EQ(Text(tree.get(), "Artist:Name"), "Lyrics3 Artist");
    EXPECT_EQ(Text(tree.get(), "Album:Name"), "Lyrics3 Album");
    EXPECT_EQ(Text(tree.get(), "Track:Comments"), "short comment");
    EXPECT_EQ(Text(tree.get(), "Track:CD Track #"), "07");
}

TEST(Lyrics3, MalformedBlocksAreNotTaken) {
    auto block = [](const std::string& body, const std::string& size) {
        std::string s = "audio" + body + size + "LYRICS200";
        return std::vector<uint8_t>(s.begin(), s.end());
    };
    Lyrics3v2Tag tag;
    const std::string good = "LYRICSBEGININD00002" "10";
    auto ok = block(good, "000021");
    MemorySource okFile(ok);
    ASSERT_TRUE(ReadLyrics3v2Tag(okFile, ok.size(), &tag));
    EXPECT_EQ(tag.offset, 5u);
    EXPECT_EQ(*tag.Find("IND"), "10");
    for (const auto& bad : {block(good, "000022"), block(good, "999999"), block(good, "00002x"),
                            block("LYRICSBEGININD00099" "10", "000021"), block("LYRICSBEGXNIND00002" "10", "000021")}) {
        MemorySource file(bad);
        EXPECT_FALSE(ReadLyrics3v2Tag(file, bad.size(), &tag));
    }
    MemorySource okAgain(ok);
    EXPECT_FALSE(ReadLyrics3v2Tag(okAgain, ok.size() + 1, &tag));
    EXPECT_FALSE(ReadLyrics3v2Tag(okAgain, 3, &tag));
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
    EXPECT_EQ(std::string(record.bytes.begin(), record.bytes.begin() + 3), "TAG");
}

TEST(Id3v1Write, GenreBytes) {
    const std::pair<const char*, uint8_t> cases[] = {
        {"Rock", 17}, {"rock", 17}, {"Synthpop", 147}, {"No Such Genre", 255}, {"(17)", 17}, {"", 255}};
    for (const auto& [name, expect] : cases) {
        auto tree = NewTree();
        Put(tree.get(), "Track:Genre", name);
        Id3v1Tag record = BlankId3v1Tag();
        record.bytes[127] = 3;
        ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
        EXPECT_EQ(record.Genre(), expect) << name;
    }
    auto tree = NewTree();
    Put(tree.get(), "Track:Genre", "Rock", kDeleted);
    Id3v1Tag record = BlankId3v1Tag();
    record.bytes[127] = 3;
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Genre(), 255);
    Put(tree.get(), "Track:Genre", "Rock", kUnchanged);
    record.bytes[127] = 3;
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Genre(), 3) << "unchanged and not forced: left alone";
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), true), TV_S_OK);
    EXPECT_EQ(record.Genre(), 17);
}

TEST(Id3v1Write, TrackBytes) {
    const std::pair<const char*, uint8_t> cases[] = {{"12", 12}, {"120", 0}, {"3/12", 3}, {"100", 100},
                                                     {"0", 0},   {"x", 0},   {"07", 7}};
    for (const auto& [value, expect] : cases) {
        auto tree = NewTree();
        Put(tree.get(), "Track:CD Track #", value);
        Id3v1Tag record = BlankId3v1Tag();
        record.bytes[125] = 'x';
        record.bytes[126] = 'y';
        ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
        EXPECT_EQ(record.bytes[125], 0) << value;
        EXPECT_EQ(record.bytes[126], expect) << value;
    }
    // Deleted: only an ID3v1.1 track goes.
    auto tree = NewTree();
    Put(tree.get(), "Track:CD Track #", "5", kDeleted);
    Id3v1Tag v11 = BlankId3v1Tag();
    v11.bytes[126] = 9;
    ASSERT_EQ(UpdateId3v1FromTree(&v11, tree.get(), false), TV_S_OK);
    EXPECT_EQ(v11.bytes[126], 0);
    Id3v1Tag v10 = BlankId3v1Tag();
    v10.bytes[125] = 'a';
    v10.bytes[126] = 'b';
    ASSERT_EQ(UpdateId3v1FromTree(&v10, tree.get(), false), TV_S_OK);
    EXPECT_EQ(v10.bytes[126], 'b');
}

TEST(Id3v1Write, ATrackNumberSurvivesAFullCommentWrittenBeforeIt) {
    auto tree = NewTree();
    Put(tree.get(), "Track:Comments", "A comment of thirty characters");
    Put(tree.get(), "Track:CD Track #", "12");
    Id3v1Tag record = BlankId3v1Tag();
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Track(), 12);
    EXPECT_EQ(record.Field(Id3v1Tag::kComment, 30), "A comment of thirty characte");
}

TEST(Id3v1Write, DeletedClearsUnchangedKeepsForceRewrites) {
    Id3v1Tag record = Record("Old title", "Old artist", "Old album", "1980", "Old", 0);
    auto tree = NewTree();
    Put(tree.get(), "Track:Name", "New title", kDeleted);
    Put(tree.get(), "Artist:Name", "New artist", kUnchanged);
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "");
    EXPECT_EQ(record.Field(Id3v1Tag::kArtist, 30), "Old artist");
    EXPECT_EQ(record.Field(Id3v1Tag::kAlbum, 30), "Old album") << "absent properties leave fields alone";
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), true), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kArtist, 30), "New artist");
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "") << "deleted stays deleted under force";
}

TEST(Id3v1Write, OtherTypesClearTheField) {
    Id3v1Tag record = Record("Old", "", "", "", "", 0);
    auto tree = NewTree();
    ComPtr<IMPAMetaProperty> node;
    const uint8_t blob[] = {1, 2, 3};
    ASSERT_EQ(tree->AddProperty("Track:Name", kTypeBinary, 0, blob, 3, true, node.put()), TV_S_OK);
    node->SetChanged(kChanged);
    ASSERT_EQ(UpdateId3v1FromTree(&record, tree.get(), false), TV_S_OK);
    EXPECT_EQ(record.Field(Id3v1Tag::kTitle, 30), "");
    uint8_t field[4] = {9, 9, 9, 9};
    EXPECT_EQ(PropertyToTagText(nullptr, field, 4, true), TV_E_POINTER);
}

TEST(Id3v1Write, AMergedRecordWrittenBackIsTheSameRecord) {
    const auto bytes = ReadWholeFile(testing::SharedId3Dir() + "/r_v1.mp3");
    MemorySource file(bytes);
    Id3v1Tag original;
    ASSERT_EQ(ReadId3v1Tag(file, &original), TV_S_OK);
    auto tree = NewTree();
    ASSERT_EQ(MergeId3v1Tag(original, tree.get()), TV_S_OK);
    Id3v1Tag rebuilt = BlankId3v1Tag();
    ASSERT_EQ(UpdateId3v1FromTree(&rebuilt, tree.get(), true), TV_S_OK);
    EXPECT_EQ(rebuilt.bytes, original.bytes);
}

TEST(Id3v1Place, OverTheOldTagOrAppended) {
    uint64_t offset = 0;
    bool replaces = true;
    std::vector<uint8_t> tagless(1000, 1);
    MemorySource a(tagless);
    ASSERT_EQ(Id3v1WriteOffset(a, &offset, &replaces), TV_S_OK);
    EXPECT_EQ(offset, 1000u);
    EXPECT_FALSE(replaces);
    std::vector<uint8_t> tagged(1000, 1);
    std::memcpy(&tagged[872], "TAG", 3);
    MemorySource b(tagged);
    ASSERT_EQ(Id3v1WriteOffset(b, &offset, &replaces), TV_S_OK);
    EXPECT_EQ(offset, 872u);
    EXPECT_TRUE(replaces);
    MemorySource empty(std::span<const uint8_t>{});
    EXPECT_EQ(Id3v1WriteOffset(empty, &offset), TV_E_FAIL);
    const Id3v1Tag blank = BlankId3v1Tag();
    MemorySource onlyTag(blank.bytes);
    EXPECT_EQ(Id3v1WriteOffset(onlyTag, &offset), TV_E_FAIL) << "nothing before the tag to keep";
}

class Id3v1FileWrite : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("tagvera-id3v1-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::permissions(path(), std::filesystem::perms::owner_all, ec);
        std::filesystem::remove_all(dir_, ec);
    }
    std::string path() const { return (dir_ / "song.mp3").string(); }
    void Write(const std::vector<uint8_t>& bytes) const {
        std::ofstream(path(), std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    std::filesystem::path dir_;
};

TEST_F(Id3v1FileWrite, AppendsThenReplacesInPlace) {
    const auto audio = testing::LoadFixture("cbr_96k_44k_notag");
    Write(audio);
    Id3v1Tag record = Record("First", "", "", "", "", 17);
    ASSERT_EQ(WriteId3v1Tag(path(), record), TV_S_OK);
    auto bytes = ReadWholeFile(path());
    ASSERT_EQ(bytes.size(), audio.size() + 128);
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), bytes.begin())) << "the audio is untouched";
    record = Record("Second", "", "", "", "", 13);
    ASSERT_EQ(WriteId3v1Tag(path(), record), TV_S_OK);
    bytes = ReadWholeFile(path());
    ASSERT_EQ(bytes.size(), audio.size() + 128);
    MemorySource file(bytes);
    Id3v1Tag back;
    ASSERT_EQ(ReadId3v1Tag(file, &back), TV_S_OK);
    EXPECT_EQ(back.Field(Id3v1Tag::kTitle, 30), "Second");
    EXPECT_EQ(back.Genre(), 13);
}

TEST_F(Id3v1FileWrite, FailsOnFilesThatCannotTakeATag) {
    EXPECT_EQ(WriteId3v1Tag(path(), BlankId3v1Tag()), TV_E_FAIL) << "missing";
    Write({});
    EXPECT_EQ(WriteId3v1Tag(path(), BlankId3v1Tag()), TV_E_FAIL) << "empty";
    Write(std::vector<uint8_t>(500, 7));
    ASSERT_EQ(::chmod(path().c_str(), 0444), 0);
    EXPECT_EQ(WriteId3v1Tag(path(), BlankId3v1Tag()), TV_E_FAIL) << "read-only";
    EXPECT_EQ(ReadWholeFile(path()), std::vector<uint8_t>(500, 7));
}

}  // namespace
}  // namespace tagvera
