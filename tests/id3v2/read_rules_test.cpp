// Frames to properties: the read rules' names, parents, types and children, one frame at a time.
#include <gtest/gtest.h>

#include "id3v2/tag_builder.h"
#include "mp3/id3v2/text_encoding.h"
#include "mp3/id3v2_frame_map.h"
#include "mp3/id3v2_read_rules.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

using mp3::PropertySpec;

id3v2::Frame MakeFrame(const std::string& id, const Bytes& payload) {
    id3v2::Frame f;
    f.id = f.sourceId = id;
    f.payload = payload;
    return f;
}

std::optional<PropertySpec> Read(const std::string& id, const Bytes& payload) {
    return mp3::ReadFrameProperty(MakeFrame(id, payload));
}

std::string Text(const std::optional<std::vector<uint8_t>>& v) {
    if (!v || v->empty()) return {};
    return std::string(v->begin(), v->end() - 1);
}

uint32_t Number(const std::vector<uint8_t>& v) {
    return v.size() == 4 ? uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24 : 0;
}

Bytes Utf16(const std::string& s) { return Bytes{1} + id3v2::EncodeText(s, id3v2::TextEncoding::Utf16); }

TEST(ReadRules, TextFramesNameTheirProperty) {
    auto p = Read("TIT2", Latin1Text("Blue in Green"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Track:Name");
    EXPECT_EQ(p->type, kTypeText);
    EXPECT_EQ(Text(p->value), "Blue in Green");
    EXPECT_EQ(p->child("Unicode"), nullptr);
    ASSERT_NE(p->child("ID3FrameID"), nullptr);
    EXPECT_EQ(Number(p->child("ID3FrameID")->value), 22u);
    EXPECT_EQ(p->child("ID3FrameID")->flags, kFlagPrivate);

    p = Read("TPE2", Utf16("Band ä"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Artist:Band");
    ASSERT_NE(p->child("Unicode"), nullptr);
    EXPECT_EQ(Number(p->child("Unicode")->value), 1u);
    EXPECT_EQ(Text(p->value), "Band ä");

    EXPECT_EQ(Read("TSSE", Latin1Text("lame"))->path(), "Statistics:Encode Settings");
    EXPECT_EQ(Read("TPE4", Latin1Text("dj"))->path(), "Credits:Mix Artist");
}

TEST(ReadRules, SeveralValuesJoinWithSlash) {
    auto p = Read("TPE1", Utf8Text(std::string("A\0B", 3)));
    ASSERT_TRUE(p);
    EXPECT_EQ(Text(p->value), "A/B");
}

TEST(ReadRules, FramesThatAreNotRead) {
    EXPECT_FALSE(Read("TIT2", Latin1Text("")));        // empty text
    EXPECT_FALSE(Read("TMED", Latin1Text("CD")));      // mapped for writing only
    EXPECT_FALSE(Read("TFLT", Latin1Text("MPG/3")));
    EXPECT_FALSE(Read("TSOP", Latin1Text("Sort")));    // no map row
    EXPECT_FALSE(Read("PRIV", B("owner") + Bytes{0, 1}));
    EXPECT_FALSE(Read("UFID", B("http://x") + Bytes{0, 1}));
    EXPECT_FALSE(Read("TYER", Latin1Text("0")));       // a year of 0
    EXPECT_FALSE(Read("TIT2", Bytes{7, 'x'}));         // bogus encoding
}

TEST(ReadRules, YearIsANumber) {
    auto p = Read("TYER", Latin1Text("1999"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Track:Year");
    EXPECT_EQ(p->type, kTypeNumber);
    EXPECT_EQ(Number(*p->value), 1999u);
}

TEST(ReadRules, GenreNumbersBecomeNames) {
    EXPECT_EQ(Text(Read("TCON", Latin1Text("(17)"))->value), "Rock");
    EXPECT_EQ(Text(Read("TCON", Latin1Text("(147)"))->value), "Synthpop");
    EXPECT_EQ(Text(Read("TCON", Latin1Text("Rock"))->value), "Rock");
    EXPECT_EQ(Text(Read("TCON", Latin1Text("17Rock"))->value), "Rock");
    EXPECT_EQ(Text(Read("TCON", Utf8Text(std::string("13\0Jazz", 7)))->value), "Pop/Jazz");
}

TEST(ReadRules, CommentsLanguagesAndLongText) {
    auto p = Read("COMM", Bytes{0} + B("eng") + Bytes{0} + B("nice"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Track:Comments");
    EXPECT_EQ(Text(p->value), "nice");
    EXPECT_EQ(p->child("Language"), nullptr);

    p = Read("COMM", Bytes{0} + B("deu") + Bytes{0} + B("schön"));
    ASSERT_NE(p->child("Language"), nullptr);
    EXPECT_EQ(Text(p->child("Language")->value), "deu");

    p = Read("COMM", Bytes{0} + B("dte") + Bytes{0} + B("2001-01-01"));
    EXPECT_EQ(p->type, kTypeDate);

    p = Read("COMM", Bytes{0} + B("eng") + Bytes{0} + B(std::string(300, 'c')));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->type, kTypeReference);
    EXPECT_FALSE(p->value);
    EXPECT_EQ(Number(p->child("DataSize")->value), 301u);
    EXPECT_EQ(Text(p->child("MimeType")->value), "text/plain");
    EXPECT_EQ(Text(p->child("Extension")->value), "txt");
    EXPECT_EQ(Text(mp3::FrameReferenceData(MakeFrame("COMM", Bytes{0} + B("eng") + Bytes{0} + B(std::string(300, 'c'))))),
              std::string(300, 'c'));
    // iTunes' machine data is not a comment.
    EXPECT_FALSE(Read("COMM", Bytes{0} + B("eng") + B("iTunNORM") + Bytes{0} + B(" 0000")));
}

TEST(ReadRules, UserTextNamesItsOwnProperty) {
    EXPECT_EQ(Read("TXXX", Bytes{0} + B("MusicMatch_Mood") + Bytes{0} + B("calm"))->path(), "Track:Mood");
    EXPECT_EQ(Read("TXXX", Bytes{0} + B("MusicMatch_") + Bytes{0} + B("x"))->path(), "Track:MusicMatch_");
    EXPECT_EQ(Read("TXXX", Bytes{0} + B("Credits:Producer") + Bytes{0} + B("x"))->path(), "Credits:Producer");
    EXPECT_EQ(Read("TXXX", Bytes{0} + B("A:B:C") + Bytes{0} + B("x"))->path(), "A:B:C");
    EXPECT_EQ(Read("TXXX", Bytes{0, 0} + B("x"))->path(), "Track:User Text");
    EXPECT_FALSE(Read("TXXX", Bytes{0} + B("Credits:") + Bytes{0} + B("x")));
}

TEST(ReadRules, LyricsStayInTheFile) {
    auto p = Read("USLT", Bytes{0} + B("fra") + Bytes{0} + B("la la"));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Track:Lyrics");
    EXPECT_EQ(p->type, kTypeReference);
    EXPECT_EQ(Number(p->child("DataSize")->value), 6u);
    EXPECT_EQ(Text(p->child("MimeType")->value), "text/plain");
    EXPECT_EQ(Text(p->child("Language")->value), "fra");
    EXPECT_EQ(Read("USLT", Bytes{0} + B("eng") + Bytes{0} + B("x"))->child("Language"), nullptr);
}

TEST(ReadRules, UrlsGoToWebLinks) {
    auto p = Read("WCOP", B("http://c"));
    EXPECT_EQ(p->path(), "Web Links:Copyright Web Page");
    EXPECT_EQ(p->type, kTypeUrl);
    EXPECT_EQ(Text(p->value), "http://c");
    EXPECT_EQ(Read("WOAS", B("http://s"))->path(), "Web Links:Web Page");
    EXPECT_EQ(Read("WPAY", B("http://p"))->path(), "Web Links:Purchase Track Web Page");
    EXPECT_EQ(Read("WOAF", B("http://f"))->path(), "Web Links:Track URL");
    EXPECT_EQ(Read("WXXX", Bytes{0, 0} + B("http://u"))->path(), "Track:Web Page");
    EXPECT_EQ(Read("WXXX", Bytes{0} + B("Band:Home") + Bytes{0} + B("http://u"))->path(), "Band:Home Web Page");
    EXPECT_FALSE(Read("WOAR", B("")));
}

TEST(ReadRules, PeopleListIsATextList) {
    auto p = Read("IPLS", Bytes{0} + B(std::string("producer\0Ann\0mix\0Bob", 21)));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Credits:All Other Credits");
    EXPECT_EQ(p->type, kTypeTextList);
    EXPECT_EQ(*p->value, B(std::string("producer\0Ann\0mix\0Bob\0\0", 22)));
    EXPECT_EQ(p->child("Separator")->value, (Bytes{0, 0, 0, 0}));
}

Bytes Apic(uint8_t type, const std::string& mime, const std::string& desc, size_t dataSize = 10) {
    Bytes p = Bytes{0} + B(mime) + Bytes{0, type} + B(desc) + Bytes{0};
    p.resize(p.size() + dataSize, 0xAB);
    return p;
}

TEST(ReadRules, PicturesByType) {
    auto p = Read("APIC", Apic(3, "image/jpeg", "front"));
    EXPECT_EQ(p->path(), "Album:Cover Art");
    EXPECT_EQ(p->type, kTypeReference);
    EXPECT_EQ(Number(p->child("DataSize")->value), 10u);
    EXPECT_EQ(Text(p->child("MimeType")->value), "image/jpeg");
    EXPECT_EQ(Text(p->child("Extension")->value), "jpg");
    EXPECT_EQ(Read("APIC", Apic(4, "image/png", "back"))->path(), "Album:Cover Art");
    EXPECT_EQ(Text(Read("APIC", Apic(4, "image/png", ""))->child("Extension")->value), "png");
    EXPECT_EQ(Read("APIC", Apic(1, "image/gif", ""))->path(), "Track:Icon");
    EXPECT_EQ(Read("APIC", Apic(18, "image/gif", ""))->path(), "Credits:Liner Art");
    EXPECT_EQ(Read("APIC", Apic(20, "image/gif", ""))->path(), "Credits:Publisher Logo Picture");
    EXPECT_EQ(Read("APIC", Apic(0, "image/jpeg", ""))->path(), "Album:Cover Art");
    EXPECT_EQ(Read("APIC", Apic(0, "image/jpeg", "Band:Live"))->path(), "Band:Live Picture");
    EXPECT_FALSE(Read("APIC", Apic(21, "image/jpeg", "x")));
    auto odd = Read("APIC", Apic(3, "application/x-encrypted", ""));
    EXPECT_EQ(Text(odd->child("MimeType")->value), "application/x-encrypted");
    EXPECT_EQ(Text(odd->child("Extension")->value), "eimg");
    EXPECT_EQ(Text(Read("APIC", Apic(3, "text/x", ""))->child("MimeType")->value), "");
}

Bytes Geob(const std::string& mime, const std::string& file, const std::string& desc, const Bytes& data) {
    return Bytes{0} + B(mime) + Bytes{0} + B(file) + Bytes{0} + B(desc) + Bytes{0} + data;
}

TEST(ReadRules, ObjectsByMimeType) {
    auto p = Read("GEOB", Geob("binary", "", "KorvaJukebox:Metadata", B("KJMD")));
    EXPECT_EQ(p->path(), "KorvaJukebox:Metadata");
    EXPECT_EQ(p->type, kTypeBinary);
    EXPECT_EQ(*p->value, B("KJMD"));
    p = Read("GEOB", Geob("ulong", "", "Plays", Bytes{7, 0, 0, 0, 9}));
    EXPECT_EQ(p->type, kTypeNumber);
    EXPECT_EQ(Number(*p->value), 7u);
    p = Read("GEOB", Geob("flag", "", "Loved", Bytes{1}));
    EXPECT_EQ(p->type, kTypeFlag);
    p = Read("GEOB", Geob("filename", "song.wav", "", {}));
    EXPECT_EQ(p->path(), "Track:General Object");
    EXPECT_EQ(p->type, kTypeFilename);
    EXPECT_EQ(Text(p->value), "song.wav");
    p = Read("GEOB", Geob("application/pdf", "b.pdf", "Booklet", Bytes(5, 1)));
    EXPECT_EQ(p->type, kTypeReference);
    EXPECT_EQ(Number(p->child("DataSize")->value), 5u);
    EXPECT_EQ(Text(p->child("Extension")->value), "b.pdf");
    EXPECT_FALSE(Read("GEOB", Geob("ulong", "", "Short", Bytes{1, 2})));
}

TEST(ReadRules, CdTableOfContents) {
    // Two tracks starting at sectors 0x96 and 0x4000, lead-out 0x8000.
    const std::string toc = "2+96+4000+8000";
    Bytes utf16;
    for (char c : toc) utf16.push_back(uint8_t(c)), utf16.push_back(0);
    auto p = Read("MCDI", utf16);
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Track:CD TOC");
    // 150 sectors = 0:02.00; length 16384-150-1 = 16233 = 3:36.33.
    EXPECT_EQ(Text(p->value).substr(0, 20), std::string("02") + "00000200" + "00212403" + "02");
    EXPECT_EQ(Text(p->value).size(), 2u + 2 * 18);
    // Not text: a count byte and nine bytes per track give hex digits.
    Bytes raw{1, 0xAA, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(Text(Read("MCDI", raw)->value), "01AA0102030405060708");
    EXPECT_FALSE(Read("MCDI", Bytes{5, 1, 2}));
}

}  // namespace
}  // namespace tagvera::testing
