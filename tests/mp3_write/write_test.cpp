// Writing tags as a host does, read back through the importer and the frame layer: what is
// written, where (in place or a rewrite), what survives, the ID3v1 record and the preferences.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "id3v2/fixture_list.h"
#include "id3v2/tag_builder.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"
#include "mp3_write/write_support.h"

namespace tagvera::testing {
namespace {

using Bytes = std::vector<uint8_t>;

std::vector<id3v2::Frame> FramesOf(const std::string& path) {
    platform::File file(path, platform::OpenMode::Read);
    return id3v2::NormalizeToV23(id3v2::ReadFileTags(file)).frames;
}

const id3v2::Frame* FindFrame(const std::vector<id3v2::Frame>& frames, const std::string& id) {
    for (const auto& f : frames)
        if (f.id == id) return &f;
    return nullptr;
}

Bytes LastRecord(const std::string& path) {
    const Bytes all = test::ReadAll(path);
    return Bytes(all.end() - 128, all.end());
}

using Mp3Write = Mp3WriteTest;

TEST_F(Mp3Write, NewTagGrowsOnceWithPaddingThenEditsInPlaceAndTheAudioStaysByteForByte) {
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    const Bytes audio = AudioOf(path);
    const std::pair<const char*, const char*> texts[] = {{"Track:Name", "Blue in Green"}, {"Artist:Name", "Miles Davis"},
                                                         {"Album:Name", "Kind of Blue"}, {"Track:CD Track #", "3/12"},
                                                         {"Track:Genre", "Jazz"}};
    {
        auto s = OpenMp3(path);
        ASSERT_EQ(s.open, TV_S_OK);
        for (const auto& [property, value] : texts) SetText(s.tree.get(), property, value);
        SetNumber(s.tree.get(), "Track:Year", 1959);
        SetText(s.tree.get(), "Track:Comments", std::string(30, 'c'));
        ASSERT_EQ(s.Write(), TV_S_OK);
        EXPECT_NE(s.Report().find("id3v2: file rewritten"), std::string::npos) << s.Report();
        EXPECT_NE(s.Report().find("id3v1: written"), std::string::npos) << s.Report();
        // The same importer, asked again, describes the file as it is now.
        ComPtr<IMPAMetaProperty> again;
        ASSERT_TRUE(Succeeded(s.importer->Interrogate(again.put())));
        EXPECT_EQ(NumberAt(again.get(), "Statistics:FileSize"), platform::FileSize(path));
        EXPECT_EQ(TextAt(again.get(), "Track:Name"), "Blue in Green");
    }
    EXPECT_EQ(AudioOf(path), audio);
    const Bytes record = LastRecord(path);
    EXPECT_EQ(std::string(record.begin() + 3, record.begin() + 16), "Blue in Green");
    EXPECT_EQ(record[125], 0);
    EXPECT_EQ(record[126], 3) << "the track survives a 30-byte comment written before it";
    EXPECT_EQ(record[127], 8) << "Jazz";
    const uint64_t space = PrependedSize(path);
    const uint64_t size = platform::FileSize(path);
    {
        auto s = OpenMp3(path);
        for (const auto& [property, value] : texts) EXPECT_EQ(s.text(property), value) << property;
        EXPECT_EQ(s.number("Track:Year"), 1959u);
        SetText(s.tree.get(), "Track:Name", "So What");
        ASSERT_EQ(s.Write(), TV_S_OK);
        EXPECT_NE(s.Report().find("id3v2: in place"), std::string::npos) << s.Report();
    }
    EXPECT_EQ(PrependedSize(path), space);
    EXPECT_EQ(platform::FileSize(path), size);
    EXPECT_EQ(AudioOf(path), audio);
    EXPECT_EQ(OpenMp3(path).text("Track:Name"), "So What");
    EXPECT_EQ(dir.entries().size(), 1u);  // no temporary file left behind
}

TEST_F(Mp3Write, TextOutsideLatin1IsWrittenAsUtf16AndReadsBackExactly) {
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    const std::string title = "Ελληνικά – 日本語 – Ünïcödé";
    {
        auto s = OpenMp3(path);
        SetText(s.tree.get(), "Track:Name", title);
        SetText(s.tree.get(), "Artist:Name", "Café");  // Latin-1 is enough here
        ASSERT_EQ(s.Write(), TV_S_OK);
    }
    const auto frames = FramesOf(path);
    const auto* tit2 = FindFrame(frames, "TIT2");
    ASSERT_TRUE(tit2);
    EXPECT_EQ(tit2->payload[0], 1);  // UTF-16 with BOM
    EXPECT_EQ(id3v2::DecodeFields(*tit2).values, std::vector<std::string>{title});
    EXPECT_EQ(FindFrame(frames, "TPE1")->payload[0], 0);
    EXPECT_EQ(OpenMp3(path).text("Track:Name"), title);
}

TEST_F(Mp3Write, CommentsWithLanguageLyricsAndUrlsRoundTripAndDeletedOnesGo) {
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    {
        auto s = OpenMp3(path);
        auto comment = SetText(s.tree.get(), "Track:Comments", "Recorded in one take");
        comment->AddText("Language", "fra", 0, true, nullptr);
        SetText(s.tree.get(), "Track:Lyrics", "So what\nso what");
        SetProperty(s.tree.get(), "Web Links:Artist URL", kTypeUrl, {'h', 't', 't', 'p', ':', '/', '/', 'a', '.', 'b', 0});
        ASSERT_EQ(s.Write(), TV_S_OK);
    }
    {
        auto s = OpenMp3(path);
        EXPECT_EQ(s.text("Track:Comments"), "Recorded in one take");
        EXPECT_EQ(s.text("Track:Comments:Language"), "fra");
        // The jukebox frame (read first by default) holds it as text; USLT holds it too.
        EXPECT_EQ(s.text("Track:Lyrics"), "So what\nso what");
        EXPECT_EQ(id3v2::DecodeFields(*FindFrame(FramesOf(path), "USLT")).values, std::vector<std::string>{"So what\nso what"});
        EXPECT_EQ(s.text("Web Links:Artist URL"), "http://a.b");
        NodeAt(s.tree.get(), "Track:Comments")->SetChanged(kDeleted);
        ASSERT_EQ(s.Write(), TV_S_OK);
    }
    auto s = OpenMp3(path);
    EXPECT_FALSE(s.has("Track:Comments"));
    EXPECT_TRUE(s.has("Track:Lyrics"));
    EXPECT_EQ(LastRecord(path)[97], 0);  // the ID3v1 comment went too
}

TEST_F(Mp3Write, FramesWeDoNotMapSurviveWithTheirBytes) {
    // v2.4 tag: RVA2, an unknown XYZW frame, two pictures, TSOP, TMOO, TDRC, a GEOB.
    const std::string path = dir.copy(FixtureFile("r_v24_unknown.mp3"));
    const auto before = FramesOf(path);
    {
        auto s = OpenMp3(path);
        ASSERT_EQ(s.open, TV_S_OK);
        SetText(s.tree.get(), "Track:Name", "New title");
        ASSERT_EQ(s.Write(), TV_S_OK);
        EXPECT_EQ(s.Report().find("lost:"), std::string::npos) << s.Report();
    }
    const auto after = FramesOf(path);
    std::multimap<std::string, Bytes> kept;
    for (const auto& f : after) kept.emplace(f.id, f.payload);
    for (const auto& f : before) {
        if (f.id == "TIT2") continue;
        bool same = false;
        for (auto [it, end] = kept.equal_range(f.id); it != end; ++it) same = same || it->second == f.payload;
        EXPECT_TRUE(same) << f.id << " changed or went missing";
    }
    EXPECT_EQ(id3v2::DecodeFields(*FindFrame(after, "TIT2")).values, std::vector<std::string>{"New title"});
    auto s = OpenMp3(path);
    EXPECT_EQ(s.text("Artist:Name"), "Björk & 坂本龍一");
    EXPECT_EQ(s.Data("Album:Cover Art").size(), 1298u);
}

TEST_F(Mp3Write, Id3v1PreferenceOffLeavesTheRecordAlone) {
    PreferencesFile off("TagEditID3V1 = dword:0\n");
    const std::string path = dir.copy(DataFile("id3v1_only_v11.mp3"));
    const Bytes record = LastRecord(path);
    auto s = OpenMp3(path);
    SetText(s.tree.get(), "Track:Name", "Changed");
    ASSERT_EQ(s.Write(), TV_S_OK);
    EXPECT_EQ(LastRecord(path), record);
    EXPECT_EQ(OpenMp3(path).text("Track:Name"), "Changed");  // from the ID3v2 tag
}

struct CoverCase {
    const char* prefs;
    bool inApic;
    bool jukeboxFrame;
    bool inJukebox;
};

class CoverRule : public Mp3Write, public ::testing::WithParamInterface<CoverCase> {};

TEST_P(CoverRule, ChangedCoverGoesToApicOrTheJukeboxFrame) {
    PreferencesFile p(GetParam().prefs);
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    const std::string jpeg = dir.copy(FixtureFile("r_v24_unknown.mp3"), "cover.jpg");  // any bytes do
    const Bytes picture = test::ReadAll(jpeg);
    {
        auto s = OpenMp3(path);
        SetText(s.tree.get(), "Track:Name", "With cover");
        SetPictureFile(s.tree.get(), "Album:Cover Art", jpeg);
        ASSERT_EQ(s.Write(), TV_S_OK);
    }
    const auto frames = FramesOf(path);
    const auto* apic = FindFrame(frames, "APIC");
    EXPECT_EQ(apic != nullptr, GetParam().inApic);
    if (apic) {
        EXPECT_TRUE(std::ranges::equal(id3v2::DecodeFields(*apic).data, picture));
    }
    const id3v2::Frame* geob = FindFrame(frames, "GEOB");
    EXPECT_EQ(geob != nullptr, GetParam().jukeboxFrame);
    if (geob) {
        const auto block = id3v2::DecodeFields(*geob);
        EXPECT_EQ(block.desc, "KorvaJukebox:Metadata");
        EXPECT_EQ(block.mime, "binary");
        const bool pictureInBlock =
            std::search(block.data.begin(), block.data.end(), picture.begin(), picture.begin() + 64) != block.data.end();
        EXPECT_EQ(pictureInBlock, GetParam().inJukebox);
    }
    // TIT2 and APIC where ID3v2 editing is on, the jukebox frame where it is on, nothing else.
    EXPECT_EQ(frames.size(), (GetParam().inApic ? 2u : 0u) + GetParam().jukeboxFrame);
    auto s = OpenMp3(path);
    EXPECT_EQ(s.text("Track:Name"), "With cover");
    EXPECT_EQ(s.Data("Album:Cover Art"), picture);
}

INSTANTIATE_TEST_SUITE_P(Preferences, CoverRule,
                         ::testing::Values(CoverCase{"", true, true, false},
                                           CoverCase{"TagEditID3V2 = dword:0\n", false, true, true},
                                           CoverCase{"TagEditKorvaOne = dword:0\n", true, false, false}));

// A picture only the jukebox frame holds stays when an unrelated property is set with ID3v2
// editing on: APIC does not get it, so the frame must keep it.
TEST_F(Mp3Write, AJukeboxPictureSurvivesAnUnrelatedEdit) {
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    const std::string jpeg = dir.copy(FixtureFile("r_v24_unknown.mp3"), "cover.jpg");
    {
        PreferencesFile jukeboxOnly("TagEditID3V2 = dword:0\n");
        auto s = OpenMp3(path);
        SetPictureFile(s.tree.get(), "Album:Cover Art", jpeg);
        ASSERT_EQ(s.Write(), TV_S_OK);
    }
    auto s = OpenMp3(path);
    SetText(s.tree.get(), "Track:Name", "x");
    ASSERT_EQ(s.Write(), TV_S_OK);
    const auto after = OpenMp3(path);
    EXPECT_EQ(after.text("Track:Name"), "x");
    EXPECT_EQ(after.Data("Album:Cover Art"), test::ReadAll(jpeg));
}

// A cover the reader leaves in the file is copied from there: in place it is not written at all
// while the frames before it keep their size, and shifted through the journal when they do not;
// a rewrite carries it over. Its bytes come back every time.
TEST_F(Mp3Write, ALargeCoverIsCopiedFromTheFileNotWrittenAgain) {
    const Bytes cover = test::Pattern(1 << 20);
    const Bytes frames = Frame23("TIT2", Latin1Text("aaaa")) + Frame23("APIC", Latin1Text("image/jpeg") + Bytes{0, 3, 0} + cover);
    const std::string path =
        dir.write("cover.mp3", Tag(3, 0, frames + Bytes(2048, 0)) + test::ReadAll(DataFile("cbr_96k_44k_notag.mp3")));
    const struct {
        std::string title, where;
        bool coverWritten;
    } steps[] = {{"bbbb", "in place", false}, {"cccccc", "in place", true}, {std::string(100000, 'd'), "file rewritten", true}};
    for (const auto& step : steps) {
        auto s = OpenMp3(path);
        SetText(s.tree.get(), "Track:Name", step.title);
        ASSERT_EQ(s.Write(), TV_S_OK);
        const std::string report = s.Report();
        EXPECT_EQ(report.rfind("id3v2: " + step.where + ", ", 0), 0u) << report;
        const uint64_t written = std::stoull(report.substr(report.find(", ") + 2));
        EXPECT_EQ(written > cover.size(), step.coverWritten) << report;
        const auto after = OpenMp3(path);
        EXPECT_EQ(after.text("Track:Name"), step.title);
        EXPECT_EQ(after.Data("Album:Cover Art"), cover);
    }
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAGVERA_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(TAGVERA_ADDRESS_SANITIZER)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif

// `tagvera set` on a tag within 4 KB of the largest an ID3v2 tag can be, nearly all of it a cover
// (a hole in the file, read as zeros): a longer title still fits and is written with what padding
// fits, a longer one yet is refused with the reason; and no run holds the cover in memory.
TEST_F(Mp3Write, ATagAtTheSizeLimitIsWrittenInBoundedMemoryOrRefusedWithTheReason) {
    if (kAddressSanitizer) GTEST_SKIP() << "its shadow memory counts in RSS, and it makes the 256 MB rewrite take 30 s";
    constexpr uint32_t kLimit = (1u << 28) - 1, kRoom = 4096;
    const Bytes title = Frame23("TIT2", Latin1Text("abc")), fields = Latin1Text("image/jpeg") + Bytes{0, 3, 0};
    const uint32_t data = kLimit - kRoom - uint32_t(title.size() + 10 + fields.size());
    Bytes head = B("ID3") + Bytes{3, 0, 0};
    PutSynchsafe(head, kLimit - kRoom + 2048);
    head = head + title + B("APIC");
    PutU32(head, uint32_t(fields.size()) + data);
    head = head + Bytes{0, 0} + fields;
    const std::string path = dir.file("limit.mp3");
    {
        std::ofstream out(path, std::ios::binary);
        const Bytes audio = test::ReadAll(DataFile("cbr_96k_44k_notag.mp3"));
        out.write(reinterpret_cast<const char*>(head.data()), std::streamsize(head.size()));
        out.seekp(std::streamoff(head.size()) + data + 2048);
        out.write(reinterpret_cast<const char*>(audio.data()), std::streamsize(audio.size()));
    }
    const auto set = [&](size_t titleLength) {
        return RunCommand("(" + Quote(TAGVERA_CLI_PATH) + " set " + Quote(path) + " Track:Name=" + std::string(titleLength, 't') +
                          " 2>&1)");
    };
    const CommandOutput grown = set(1000);
    EXPECT_EQ(grown.status, 0) << grown.out;
    EXPECT_NE(grown.out.find("file rewritten"), std::string::npos) << grown.out;
    const uint64_t size = platform::FileSize(path);
    const CommandOutput refused = set(6000);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.out.find("more than the 268435465 an ID3v2 tag can hold"), std::string::npos) << refused.out;
    EXPECT_EQ(platform::FileSize(path), size);
    EXPECT_EQ(OpenMp3(path).text("Track:Name").size(), 1000u);
    rusage children{};
    ASSERT_EQ(getrusage(RUSAGE_CHILDREN, &children), 0);
    EXPECT_LT(children.ru_maxrss, 64 * 1024) << "KB at the peak of a child";
}

TEST_F(Mp3Write, PrepareStripsTheId3v2TagAndBlanksTheId3v1Record) {
    const std::string path = dir.copy(FixtureFile("r_v23_plus_v11.mp3"));
    const Bytes audio = AudioOf(path);
    auto s = OpenMp3(path);
    ASSERT_EQ(s.writer()->Prepare(0), TV_S_OK);
    EXPECT_EQ(PrependedSize(path), 0u);
    EXPECT_EQ(AudioOf(path), audio);
    EXPECT_EQ(LastRecord(path), B("TAG") + Bytes(124, 0) + Bytes{255});
    auto again = OpenMp3(path);
    EXPECT_FALSE(again.has("Track:Name"));
    EXPECT_FALSE(again.has("Artist:Name"));
}

TEST_F(Mp3Write, RefusedWritesLeaveTheFileAsItWas) {
    const std::string readOnly = dir.copy(FixtureFile("r_v23_padded.mp3"));
    const Bytes before = test::ReadAll(readOnly);
    std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
    auto s = OpenMp3(readOnly);
    SetText(s.tree.get(), "Track:Name", "Nope");
    EXPECT_EQ(s.Write(), TV_E_FAIL);
    EXPECT_EQ(s.writer()->Prepare(0), TV_E_FAIL);
    EXPECT_EQ(test::ReadAll(readOnly), before);

    // A tag that needs more room than the file has, with only in-place writes allowed.
    const std::string tight = dir.copy(DataFile("cbr_96k_44k_notag.mp3"));
    const Bytes tightBefore = test::ReadAll(tight);
    auto t = OpenMp3(tight);
    SetText(t.tree.get(), "Track:Name", "Needs room");
    EXPECT_EQ(t.Write(kMp3WriteInPlaceOnly), TV_E_FAIL);
    EXPECT_EQ(test::ReadAll(tight), tightBefore);
}

// Every shared fixture as a starting file: the written values come back, the old ones stay.
class FixtureRoundTrip : public Mp3Write, public ::testing::WithParamInterface<std::string> {};

TEST_P(FixtureRoundTrip, WrittenValuesComeBack) {
    const std::string path = dir.copy(GetParam() + ".mp3");
    const Bytes audio = AudioOf(path);
    std::map<std::string, std::string> texts = {{"Track:Name", "Round trip ✓"}, {"Album:Name", "Álbum"}, {"Track:CD Track #", "7/9"}};
    {
        auto s = OpenMp3(path);
        ASSERT_TRUE(Succeeded(s.open)) << GetParam();
        for (const auto& [property, value] : texts) SetText(s.tree.get(), property, value);
        texts["Artist:Name"] = s.text("Artist:Name");  // kept as it was
        ASSERT_EQ(s.Write(), TV_S_OK) << GetParam();
    }
    auto s = OpenMp3(path);
    for (const auto& [property, value] : texts) EXPECT_EQ(s.text(property.c_str()), value) << property;
    EXPECT_EQ(AudioOf(path), audio);
}

INSTANTIATE_TEST_SUITE_P(Shared, FixtureRoundTrip, ::testing::ValuesIn(FixtureBases()), FixtureName);

}  // namespace
}  // namespace tagvera::testing
