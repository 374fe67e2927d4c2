// Frames to properties: the read rules' names, parents, types and children, one frame at a time.
#include <gtest/gtest.h>

#include <tuple>

#include "id3v2/tag_builder.h"
#include "tags/id3v2/text_encoding.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tags/id3v2/properties/read_rules.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

using id3v2::PropertySpec;

id3v2::Frame MakeFrame(const std::string& id, const Bytes& payload) {
    id3v2::Frame f;
    f.id = f.sourceId = id;
    f.payload = payload;
    return f;
}

std::optional<PropertySpec> Read(const std::string& id, const Bytes& payload) {
    return id3v2::ReadFrameProperty(MakeFrame(id, payload));
}

std::string Text(const std::optional<std::vector<uint8_t>>& v) {
    if (!v || v->empty()) return {};
    return std::string(v->begin(), v->end() - 1);
}

uint32_t Number(const std::vector<uint8_t>& v) {
    return v.size() == 4 ? uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24 : 0;
}

Bytes Utf16(const std::string& s) { return Bytes{1} + id3v2::EncodeText(s, id3v2::TextEncoding::Utf16); }

Bytes Comm(const std::string& lang, const std::string& text) { return Bytes{0} + B(lang) + Bytes{0} + B(text); }
Bytes Txxx(const std::string& desc, const std::string& text) { return Bytes{0} + B(desc) + Bytes{0} + B(text); }
Bytes Apic(uint8_t type, const std::string& mime, const std::string& desc, size_t dataSize = 10) {
    Bytes p = Bytes{0} + B(mime) + Bytes{0, type} + B(desc) + Bytes{0};
    p.resize(p.size() + dataSize, 0xAB);
    return p;
}
Bytes Geob(const std::string& mime, const std::string& file, const std::string& desc, const Bytes& data) {
    return Bytes{0} + B(mime) + Bytes{0} + B(file) + Bytes{0} + B(desc) + Bytes{0} + data;
}

struct MappingCase {
    std::string id;
    Bytes payload;
    std::string path;
    uint32_t type;
    std::string text;  // the value as text; empty for values that are not text
};

// One frame for each way of naming a property; which id maps to which name is the map's own table,
// and the plain title, comment and front cover are every fixture's (FixtureProperties).
TEST(ReadRules, FramesNameTheirPropertyAndType) {
    const MappingCase cases[] = {
        {"TPE2", Utf16("Band ä"), "Artist:Band", kTypeText, "Band ä"},
        {"TPE1", Utf8Text(std::string("A\0B", 3)), "Artist:Name", kTypeText, "A/B"},  // values join with '/'
        {"TYER", Latin1Text("1999"), "Track:Year", kTypeNumber, ""},
        // Genre numbers become names (the genre table's test has the forms of number).
        {"TCON", Latin1Text("(17)"), "Track:Genre", kTypeText, "Rock"},
        {"TCON", Utf8Text(std::string("13\0Jazz", 7)), "Track:Genre", kTypeText, "Pop/Jazz"},
        {"COMM", Comm("dte", "2001-01-01"), "Track:Comments", kTypeDate, "2001-01-01"},
        // User text names its own property.
        {"TXXX", Txxx("MusicMatch_Mood", "calm"), "Track:Mood", kTypeText, "calm"},
        {"TXXX", Txxx("MusicMatch_", "x"), "Track:MusicMatch_", kTypeText, "x"},
        {"TXXX", Txxx("Credits:Producer", "x"), "Credits:Producer", kTypeText, "x"},
        {"TXXX", Txxx("A:B:C", "x"), "A:B:C", kTypeText, "x"},
        {"TXXX", Txxx("", "x"), "Track:User Text", kTypeText, "x"},
        {"WCOP", B("http://c"), "Web Links:Copyright Web Page", kTypeUrl, "http://c"},
        {"WXXX", Bytes{0, 0} + B("http://u"), "Track:Web Page", kTypeUrl, "http://u"},
        {"WXXX", Txxx("Band:Home", "http://u"), "Band:Home Web Page", kTypeUrl, "http://u"},
        // Pictures by type; the front cover wins the cover property, the others are covers too.
        {"APIC", Apic(4, "image/png", "back"), "Album:Cover Art", kTypeReference, ""},
        {"APIC", Apic(0, "image/jpeg", ""), "Album:Cover Art", kTypeReference, ""},
        {"APIC", Apic(1, "image/gif", ""), "Track:Icon", kTypeReference, ""},
        {"APIC", Apic(0, "image/jpeg", "Band:Live"), "Band:Live Picture", kTypeReference, ""},
        // Objects by MIME type.
        {"GEOB", Geob("binary", "", "KorvaJukebox:Metadata", B("KJMD")), "KorvaJukebox:Metadata", kTypeBinary, ""},
        {"GEOB", Geob("flag", "", "Loved", Bytes{1}), "Track:Loved", kTypeFlag, ""},
        {"GEOB", Geob("filename", "song.wav", "", {}), "Track:General Object", kTypeFilename, "song.wav"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id + " -> " + c.path);
        const auto p = Read(c.id, c.payload);
        ASSERT_TRUE(p);
        EXPECT_EQ(p->path(), c.path);
        EXPECT_EQ(p->type, c.type);
        if (!c.text.empty()) {
            EXPECT_EQ(Text(p->value), c.text);
        }
        ASSERT_NE(p->child("ID3FrameID"), nullptr);
        EXPECT_EQ(p->child("ID3FrameID")->flags, kFlagPrivate);
    }
}

TEST(ReadRules, ValuesAndChildrenOfTextFrames) {
    auto p = Read("TIT2", Latin1Text("Blue in Green"));
    EXPECT_EQ(p->child("Unicode"), nullptr);
    EXPECT_EQ(Number(Read("TPE2", Utf16("Band ä"))->child("Unicode")->value), 1u);
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
    EXPECT_FALSE(Read("COMM", Bytes{0} + B("eng") + B("iTunNORM") + Bytes{0} + B(" 0000")));  // machine data
    EXPECT_FALSE(Read("TXXX", Txxx("Credits:", "x")));
    EXPECT_FALSE(Read("WOAR", B("")));
    EXPECT_FALSE(Read("APIC", Apic(21, "image/jpeg", "x")));
    EXPECT_FALSE(Read("GEOB", Geob("ulong", "", "Short", Bytes{1, 2})));
    EXPECT_FALSE(Read("MCDI", Bytes{5, 1, 2}));
}

TEST(ReadRules, CommentsAndLyricsNameTheirLanguageUnlessEnglish) {
    EXPECT_EQ(Read("COMM", Comm("eng", "nice"))->child("Language"), nullptr);
    EXPECT_EQ(Text(Read("COMM", Comm("deu", "schön"))->child("Language")->value), "deu");
    EXPECT_EQ(Read("USLT", Comm("eng", "x"))->child("Language"), nullptr);
    EXPECT_EQ(Text(Read("USLT", Comm("fra", "la la"))->child("Language")->value), "fra");
}

TEST(ReadRules, LongTextStaysInTheFile) {
    const Bytes longComment = Comm("eng", std::string(300, 'c'));
    for (const auto& [id, payload, size] : {std::tuple{"COMM", longComment, 301u}, std::tuple{"USLT", Comm("fra", "la la"), 6u}}) {
        SCOPED_TRACE(id);
        auto p = Read(id, payload);
        ASSERT_TRUE(p);
        EXPECT_EQ(p->type, kTypeReference);
        EXPECT_FALSE(p->value);
        EXPECT_EQ(Number(p->child("DataSize")->value), size);
        EXPECT_EQ(Text(p->child("MimeType")->value), "text/plain");
    }
    EXPECT_EQ(Text(Read("COMM", longComment)->child("Extension")->value), "txt");
    EXPECT_EQ(Text(id3v2::FrameReferenceData(MakeFrame("COMM", longComment))), std::string(300, 'c'));
}

TEST(ReadRules, PeopleListIsATextList) {
    auto p = Read("IPLS", Bytes{0} + B(std::string("producer\0Ann\0mix\0Bob", 21)));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->path(), "Credits:All Other Credits");
    EXPECT_EQ(p->type, kTypeTextList);
    EXPECT_EQ(*p->value, B(std::string("producer\0Ann\0mix\0Bob\0\0", 22)));
    EXPECT_EQ(p->child("Separator")->value, (Bytes{0, 0, 0, 0}));
}

TEST(ReadRules, PictureAndObjectData) {
    auto p = Read("APIC", Apic(3, "image/jpeg", "front"));
    EXPECT_EQ(Number(p->child("DataSize")->value), 10u);
    EXPECT_EQ(Text(p->child("MimeType")->value), "image/jpeg");
    EXPECT_EQ(Text(p->child("Extension")->value), "jpg");
    EXPECT_EQ(Text(Read("APIC", Apic(4, "image/png", ""))->child("Extension")->value), "png");
    auto odd = Read("APIC", Apic(3, "application/x-encrypted", ""));
    EXPECT_EQ(Text(odd->child("MimeType")->value), "application/x-encrypted");
    EXPECT_EQ(Text(odd->child("Extension")->value), "eimg");
    EXPECT_EQ(Text(Read("APIC", Apic(3, "text/x", ""))->child("MimeType")->value), "");

    EXPECT_EQ(*Read("GEOB", Geob("binary", "", "KorvaJukebox:Metadata", B("KJMD")))->value, B("KJMD"));
    p = Read("GEOB", Geob("ulong", "", "Plays", Bytes{7, 0, 0, 0, 9}));
    EXPECT_EQ(p->type, kTypeNumber);
    EXPECT_EQ(Number(*p->value), 7u);
    p = Read("GEOB", Geob("application/pdf", "b.pdf", "Booklet", Bytes(5, 1)));
    EXPECT_EQ(p->type, kTypeReference);
    EXPECT_EQ(Number(p->child("DataSize")->value), 5u);
    EXPECT_EQ(Text(p->child("Extension")->value), "b.pdf");
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
}

}  // namespace
}  // namespace tagvera::testing
