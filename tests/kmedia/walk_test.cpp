// The header walk over whole generated files: what it finds, and that damaged files end in a
// clean error or a named problem, never in a read past the file or a loop.
#include <gtest/gtest.h>

#include <functional>

#include "base/byte_source.h"
#include "kmedia/header_walk.h"
#include "kmedia/km_generator.h"
#include "kmedia/logical_stream.h"
#include "kmedia/trailer.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"

namespace tagvera::kmedia::testing {
namespace {

KmFileSpec TwoStreams() {
    KmFileSpec s;
    s.durationMs = 1000;
    s.content.title = "T";
    s.streams = {AudioStream(0, 64000, "kaac", 2), VideoStream(1, 300000, "KV30", 176, 144),
                 FileInfoStream({NameValueProperty::Number("Indexable", 1)})};
    return s;
}

void PutU32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (24 - 8 * i));
}

size_t OffsetOf(const KmHeaders& h, uint32_t id, size_t nth = 0) {
    for (const auto& p : h.places)
        if (p.header.id == id && nth-- == 0) return static_cast<size_t>(p.offset);
    ADD_FAILURE() << FourCCText(id) << " not found";
    return 0;
}

TEST(KmWalk, FindsEveryObjectOfAGeneratedFile) {
    const auto bytes = BuildKmFile(TwoStreams());
    MemorySource src(bytes);
    const KmHeaders h = ReadKmHeaders(src, {.readIndexes = true});
    EXPECT_EQ(h.streams.size(), 3u);
    ASSERT_TRUE(h.data);
    EXPECT_EQ(h.data->numPackets, 8u);
    EXPECT_EQ(h.dataOffset, h.properties->dataOffset);
    ASSERT_EQ(h.indexes.size(), 2u);
    EXPECT_EQ(h.indexes[1].streamNumber, 1);
    EXPECT_TRUE(h.problems.empty());
    EXPECT_TRUE(h.FileInfo());
    // Every index record points at a packet header of its stream.
    for (const auto& x : h.indexes)
        for (const auto& r : x.records) {
            ASSERT_LT(r.offset + 6u, bytes.size());
            EXPECT_EQ(bytes[r.offset + 5], x.streamNumber);
        }
}

TEST(KmWalk, OfSeveralFileInfoStreamsTheLowestNumberedCounts) {
    KmFileSpec spec;
    spec.streams = {AudioStream(0, 64000, "kaac", 2), FileInfoStream({NameValueProperty::Text("File ID", "later")}),
                    FileInfoStream({NameValueProperty::Text("File ID", "lowest")})};
    spec.streams[1].streamNumber = 7, spec.streams[2].streamNumber = 3;
    const auto bytes = BuildKmFile(spec);
    MemorySource src(bytes);
    const KmHeaders h = ReadKmHeaders(src);
    ASSERT_TRUE(h.FileInfo());
    EXPECT_EQ(LogicalStreamRecord::Read(h.FileInfo()->typeSpecific).properties.at(0).value,
              NameValueProperty::Text("File ID", "lowest").value);
}

TEST(KmWalk, DamagedFilesFailOrSayWhatIsWrong) {
    const auto good = BuildKmFile(TwoStreams());
    MemorySource goodSrc(good);
    const KmHeaders h = ReadKmHeaders(goodSrc, {.readIndexes = true});
    const size_t prop = OffsetOf(h, kIdProperties), cont = OffsetOf(h, kIdContent);
    const size_t mdpr = OffsetOf(h, kIdMediaProperties), data = OffsetOf(h, kIdData);
    const size_t indx = OffsetOf(h, kIdIndex);

    struct Case {
        const char* name;
        std::function<void(std::vector<uint8_t>&)> damage;
        HRESULT code;         // S_OK: reads, with a problem named
        const char* problem;  // part of the problem's text
    };
    const std::vector<Case> cases = {
        {"object size 0", [&](auto& b) { PutU32(b, cont + 4, 0); }, TV_E_FAIL, ""},
        {"object size 9", [&](auto& b) { PutU32(b, mdpr + 4, 9); }, TV_E_FAIL, ""},
        {"object size past the file", [&](auto& b) { PutU32(b, mdpr + 4, 0xFFFFFFF0); }, TV_E_FAIL, ""},
        {"CONT string past the object", [&](auto& b) { b[cont + 10] = 0x40; }, TV_E_FAIL, ""},
        {"a second file header", [&](auto& b) { PutU32(b, cont, kIdFileHeader); }, TV_E_FAIL, ""},
        {"DATA claims more packets than it holds", [&](auto& b) { PutU32(b, data + 10, 100000); }, TV_S_OK,
         "more than its"},
        {"index outside the data", [&](auto& b) { PutU32(b, indx + 20 + 6, 3); }, TV_S_OK, "outside the DATA"},
        {"index chain loops", [&](auto& b) { PutU32(b, indx + 16, static_cast<uint32_t>(indx)); }, TV_E_FAIL, ""},
        {"index count beyond its records", [&](auto& b) { PutU32(b, indx + 10, 0x10000000); }, TV_E_FAIL, ""},
        {"index offset to no INDX", [&](auto& b) { PutU32(b, prop + 38, static_cast<uint32_t>(cont)); }, TV_E_FAIL,
         ""},
        {"header count of 2 walks nothing", [&](auto& b) { PutU32(b, 14, 2); }, TV_S_OK, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto bytes = good;
        c.damage(bytes);
        MemorySource src(bytes);
        try {
            const KmHeaders got = ReadKmHeaders(src, {.readIndexes = true});
            EXPECT_EQ(c.code, TV_S_OK);
            std::string all;
            for (const auto& p : got.problems) all += p + "\n";
            EXPECT_NE(all.find(c.problem), std::string::npos) << all;
        } catch (const Error& e) {
            EXPECT_EQ(e.code(), c.code) << e.what();
        }
    }
}

// Interrogation reads the headers and the tail: as many bytes for a file of many packets as for one
// of a few.
TEST(KmWalk, BytesReadDoNotGrowWithTheMedia) {
    test::ScratchDir dir;
    std::vector<uint64_t> read;
    for (uint32_t packets : {2u, 2000u}) {
        auto spec = TwoStreams();
        spec.packetsPerStream = packets;
        spec.payloadSize = 1000;
        spec.trailerBlock = std::vector<uint8_t>(40, 'k');
        spec.id3v1 = Id3v1Bytes("t", "a", 1, 2);
        const std::string path = dir.write("big.km", BuildKmFile(spec));
        platform::File file(path, platform::OpenMode::Read);
        ReadKmHeaders(file);
        ASSERT_TRUE(FindTrailer(file));
        read.push_back(file.bytesRead());
    }
    EXPECT_EQ(read[0], read[1]);
    EXPECT_LT(read[1], 2048u);
}

TEST(KmWalk, TrailerIsFoundOnlyWhenItFits) {
    auto spec = TwoStreams();
    spec.trailerBlock = std::vector<uint8_t>(40, 'k');
    spec.id3v1 = Id3v1Bytes("t", "a", 1, 2);
    auto bytes = BuildKmFile(spec);
    {
        MemorySource src(bytes);
        const auto t = FindTrailer(src);
        ASSERT_TRUE(t);
        EXPECT_EQ(t->blockSize, 40u);
        EXPECT_TRUE(t->hasHeader);
        EXPECT_EQ(bytes[t->blockOffset], 'k');
    }
    const size_t footer = bytes.size() - 140;
    struct Case {
        const char* name;
        size_t at;
        uint32_t value;
    };
    for (const Case& c : {Case{"length past the file", footer + 8, 0xFFFFFF00u}, Case{"version 2", footer + 4, 2u},
                          Case{"length equal to the file", footer + 8, static_cast<uint32_t>(bytes.size() - 140)}}) {
        SCOPED_TRACE(c.name);
        auto damaged = bytes;
        PutU32(damaged, c.at, c.value);
        MemorySource src(damaged);
        EXPECT_FALSE(FindTrailer(src));
    }
}

}  // namespace
}  // namespace tagvera::kmedia::testing
