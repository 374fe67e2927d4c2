// Every header object written and read back equal, and the layout rules that a reader of
// another writer's files depends on.
#include <gtest/gtest.h>

#include <functional>

#include "kmedia/codec_headers.h"
#include "kmedia/content.h"
#include "kmedia/data_header.h"
#include "kmedia/file_header.h"
#include "kmedia/index_object.h"
#include "kmedia/logical_stream.h"
#include "kmedia/media_properties.h"
#include "kmedia/properties.h"

namespace tagvera::kmedia {
namespace {

template <class T>
std::vector<uint8_t> Bytes(const T& object) {
    std::vector<uint8_t> out;
    BeWriter w(out);
    object.Write(w);
    return out;
}

template <class T>
void ExpectRoundTrip(const T& object) {
    const auto bytes = Bytes(object);
    ASSERT_EQ(bytes.size(), object.Size());
    const T back = T::Read(bytes);
    EXPECT_EQ(Bytes(back), bytes);
}

TEST(KmObjects, EveryObjectRoundTrips) {
    FileHeaderObject fh;
    fh.fileVersion = 7;
    fh.numHeaders = 9;
    ExpectRoundTrip(fh);

    PropertiesObject p;
    p.maxBitRate = 0xFFFFFFFF;
    p.durationMs = 123456;
    p.dataOffset = 300;
    p.indexOffset = 9000;
    p.numStreams = 3;
    p.flags = 0x8001;
    ExpectRoundTrip(p);

    ContentObject c{.title = "Title", .author = "Author", .copyright = "(c)", .comment = std::string(300, 'x')};
    ExpectRoundTrip(c);

    LogicalStreamRecord r;
    r.physicalStreams = {1, 2};
    r.dataOffsets = {100, 200};
    r.ruleToStream = {0, 1, 1};
    r.properties = {NameValueProperty::Number("Indexable", 1), NameValueProperty::Text("File ID", "abc"),
                    NameValueProperty::Buffer("KJMDTag", {1, 2, 3, 4, 5})};
    ExpectRoundTrip(r);

    MediaPropertiesObject m;
    m.streamNumber = 2;
    m.avgBitRate = 64000;
    m.streamName = "Audio";
    m.mimeType = "logical-fileinfo";
    BeWriter(m.typeSpecific).bytes(Bytes(r));
    ExpectRoundTrip(m);
    EXPECT_EQ(LogicalStreamRecord::Read(MediaPropertiesObject::Read(Bytes(m)).typeSpecific), r);

    const std::string text = m.Describe();
    EXPECT_EQ(text.substr(0, text.find('\n')), "Object ID:\tKM_MEDIA_PROPERTIES_OBJECT (MDPR)");
    EXPECT_NE(text.find("\nStream number 2 starting at 200\n"), std::string::npos) << text;

    IndexObject x;
    x.streamNumber = 1;
    x.nextIndexHeader = 77;
    x.records = {{0, 0, 100, 0}, {0, 500, 900, 12}};
    ExpectRoundTrip(x);
}

TEST(KmObjects, SizesFollowTheLayout) {
    EXPECT_EQ(Bytes(ContentObject{}).size(), 18u);  // four empty strings
    EXPECT_EQ(Bytes(PropertiesObject{}).size(), 50u);
    EXPECT_EQ(Bytes(MediaPropertiesObject{}).size(), 46u);
    // A string is kept modulo nothing: cut at 65,535 so that its count describes it.
    ContentObject big{.title = std::string(70000, 't')};
    const auto back = ContentObject::Read(Bytes(big));
    EXPECT_EQ(back.title.size(), 65535u);
}

TEST(KmObjects, UnknownVersionsAreTheirHeaderOnly) {
    MediaPropertiesObject m;
    m.mimeType = "audio/x-zn-korvaaudio";
    auto bytes = Bytes(m);
    bytes[9] = 1;
    const auto back = MediaPropertiesObject::Read(bytes);
    EXPECT_EQ(back.header.version, 1);
    EXPECT_EQ(back.header.size, bytes.size());
    EXPECT_TRUE(back.mimeType.empty());

    // ".KMF" of version 1 is read like version 0 (version 2's code: the importer's opening failures).
    FileHeaderObject fh;
    fh.numHeaders = 5;
    auto kmf = Bytes(fh);
    kmf[9] = 1;
    EXPECT_EQ(FileHeaderObject::Read(kmf).numHeaders, 5u);

    LogicalStreamRecord r;
    r.physicalStreams = {1};
    r.dataOffsets = {5};
    auto rec = Bytes(r);
    rec[5] = 3;
    EXPECT_TRUE(LogicalStreamRecord::Read(rec).physicalStreams.empty());
}

// Each damaged object fails cleanly instead of reading past what it was given.
TEST(KmObjects, DamagedObjectsAreRefused) {
    ContentObject c{.title = "Title", .author = "A"};
    MediaPropertiesObject m;
    m.streamName = "n";
    m.mimeType = "video/x-zn-korvavideo";
    m.typeSpecific.assign(26, 0);
    IndexObject x;
    x.records = {{0, 1, 2, 3}};
    LogicalStreamRecord r;
    r.properties = {NameValueProperty::Text("File ID", "abcdef")};

    struct Case {
        const char* what;
        std::vector<uint8_t> bytes;
        size_t patchAt;
        std::vector<uint8_t> patch;
        std::function<void(std::span<const uint8_t>)> read;
    };
    const std::vector<Case> cases = {
        {"size below 10", Bytes(c), 4, {0, 0, 0, 9}, [](auto b) { ContentObject::Read(b); }},
        {"size beyond the bytes", Bytes(c), 4, {0, 0, 1, 0}, [](auto b) { ContentObject::Read(b); }},
        {"CONT title past the object", Bytes(c), 10, {0, 200}, [](auto b) { ContentObject::Read(b); }},
        {"MDPR name past the object", Bytes(m), 40, {250}, [](auto b) { MediaPropertiesObject::Read(b); }},
        {"MDPR type data past the object", Bytes(m), 64, {0, 0, 1, 0},
         [](auto b) { MediaPropertiesObject::Read(b); }},
        {"INDX count beyond its records", Bytes(x), 10, {0x10, 0, 0, 0}, [](auto b) { IndexObject::Read(b); }},
        {"property count beyond the record", Bytes(r), 10, {0x7F, 0xFF}, [](auto b) { LogicalStreamRecord::Read(b); }},
        {"property value past its record", Bytes(r), 30, {0xFF, 0xFF}, [](auto b) { LogicalStreamRecord::Read(b); }},
    };
    for (const auto& k : cases) {
        auto bytes = k.bytes;
        ASSERT_LE(k.patchAt + k.patch.size(), bytes.size()) << k.what;
        std::copy(k.patch.begin(), k.patch.end(), bytes.begin() + static_cast<ptrdiff_t>(k.patchAt));
        EXPECT_THROW(k.read(bytes), Error) << k.what;
    }
}

TEST(KmObjects, CodecHeadersGiveWhatTheImporterUses) {
    const auto v5 = KorvaAudioHeader::Read(MakeKorvaAudio5("tolk", 6, 17, 1));
    EXPECT_EQ(v5.version, 5);
    EXPECT_EQ(v5.codec, "tolk");
    EXPECT_EQ(v5.channels, 6);
    EXPECT_EQ(v5.flavor, 17);
    EXPECT_EQ(v5.channelMask, 1u);
    const auto v4 = KorvaAudioHeader::Read(MakeKorvaAudio4("sipr", 1));
    EXPECT_EQ(v4.codec, "sipr");
    EXPECT_EQ(v4.channels, 1);
    // The interleave flag with a sub-packet size of 0 is refused.
    auto bad = MakeKorvaAudio5("kaac", 2, 0, 0);
    bad[44] = bad[45] = 0;
    bad[73] = 1;
    EXPECT_THROW(KorvaAudioHeader::Read(bad), Error);
    // A header cut short of its codec field fails rather than reading on.
    const auto whole = MakeKorvaAudio5("kaac", 2, 0, 0);
    EXPECT_THROW(KorvaAudioHeader::Read(std::span(whole).first(60)), Error);
}

TEST(KmObjects, IndexBuilderKeepsOneRecordPerKeyframeTime) {
    IndexBuilder b;
    b.AddPacket(3, 0, false, 100);   // the first packet counts as a keyframe
    b.AddPacket(3, 0, true, 200);    // same time: no second record
    b.AddPacket(3, 40, false, 300);  // not a keyframe
    b.AddPacket(3, 80, true, 400);
    b.AddPacket(3, 60, true, 500);   // earlier than the last record
    b.AddPacket(3, 90, false, 600, true);
    const auto& x = b.Index();
    EXPECT_EQ(x.streamNumber, 3);
    ASSERT_EQ(x.records.size(), 3u);
    EXPECT_EQ(x.records[0], (IndexRecord{0, 0, 100, 0}));
    EXPECT_EQ(x.records[1], (IndexRecord{0, 80, 400, 3}));
    EXPECT_EQ(x.records[2], (IndexRecord{0, 90, 600, 5}));
    EXPECT_EQ(x.Size(), 20u + 3 * 14);
}

}  // namespace
}  // namespace tagvera::kmedia
