// KmEditEngine's Save over generated files, checked by walking the output: the same packets byte for
// byte and in order, and every offset, count and size describing the new file.
#include <gtest/gtest.h>

#include "kmedia/convert/packet_scan.h"
#include "kmedia/km_edit.h"
#include "kmedia/km_generator.h"
#include "kmedia/logical_stream.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"
#include "tagvera/com_ptr.h"

namespace tagvera::kmedia::testing {
namespace {

// Every packet of a file, bytes included.
std::vector<std::vector<uint8_t>> Packets(const std::vector<uint8_t>& file, const KmHeaders& h) {
    MemorySource src(file);
    std::vector<std::vector<uint8_t>> out;
    PacketScan scan(src, h.dataOffset, *h.data);
    const PacketScan::Consumer keep = [&](std::span<const uint8_t> b) { out.back().insert(out.back().end(), b.begin(), b.end()); };
    scan.Walk([&](const ScannedPacket&) { out.emplace_back(); }, &keep);
    return out;
}

// The checker: a file whose headers, data object and index objects all agree.
KmHeaders CheckConsistent(const std::vector<uint8_t>& file) {
    MemorySource src(file);
    const KmHeaders h = ReadKmHeaders(src, {.readIndexes = true});
    EXPECT_TRUE(h.problems.empty());
    EXPECT_TRUE(h.properties && h.data);
    if (!h.properties || !h.data) return h;
    EXPECT_EQ(h.properties->dataOffset, h.dataOffset);
    EXPECT_EQ(h.properties->numPackets, h.data->numPackets);
    EXPECT_EQ(h.properties->numStreams, h.streams.size());
    EXPECT_EQ(h.dataOffset + h.data->header.size + 0u, h.indexes.empty() ? file.size() : h.properties->indexOffset);
    EXPECT_GE(h.fileHeader.numHeaders, 2 + 2 + h.streams.size());
    uint64_t end = h.dataOffset + h.data->header.size;
    for (size_t i = 0; i < h.indexes.size(); ++i) {
        EXPECT_EQ(h.indexOffsets[i], end);
        end += h.indexes[i].Size();
        for (const auto& r : h.indexes[i].records) {
            // Each record points at a packet of its stream with its timestamp.
            EXPECT_EQ(file[r.offset + 5], h.indexes[i].streamNumber);
            const uint32_t t = uint32_t(file[r.offset + 6]) << 24 | uint32_t(file[r.offset + 7]) << 16 |
                               uint32_t(file[r.offset + 8]) << 8 | file[r.offset + 9];
            EXPECT_EQ(t, r.timestampMs);
        }
    }
    EXPECT_EQ(end, file.size());
    return h;
}

KmFileSpec Sample() {
    KmFileSpec s;
    s.durationMs = 900;
    s.packetsPerStream = 10;
    s.payloadSize = 300;
    s.content = ContentObject{.title = "Old", .author = "Old Author"};
    s.streams = {AudioStream(0, 64000, "kaac", 2), VideoStream(1, 300000, "KV40", 64, 48),
                 FileInfoStream({NameValueProperty::Text("File ID", "f"), NameValueProperty::Buffer("KJMDTag", {1, 2, 3})})};
    s.unknownVersionObject = true;
    s.trailerBlock = std::vector<uint8_t>(50, 'j');
    s.id3v1 = Id3v1Bytes("t", "a", 1, 1);
    return s;
}

TEST(KmEdit, SaveKeepsPacketsAndWritesConsistentHeaders) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), out = dir.file("out.km");
    const auto input = BuildKmFile(Sample());
    WriteFile(in, input);
    MemorySource inSrc(input);
    const KmHeaders inHeaders = ReadKmHeaders(inSrc);

    struct Case {
        const char* name;
        uint32_t start, end;
        size_t firstPacket, packets;  // of the input's 20
    };
    for (const Case& c : {Case{"whole file", 0, 0, 0, 20}, Case{"time range", 200, 500, 4, 8}}) {
        SCOPED_TRACE(c.name);
        KmEditEngine edit;
        ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
        EXPECT_EQ(edit.Title(), "Old");
        EXPECT_EQ(edit.SetTitle("New Title"), TV_S_OK);
        EXPECT_EQ(edit.SetAuthor(std::string(256, 'a')), TV_E_BUFFERTOOSMALL);
        EXPECT_EQ(edit.SetComment("c"), TV_S_OK);
        edit.SetFileFlag(KmEditEngine::kFlag2, true);
        edit.FileInfo().erase(edit.FileInfo().begin() + 1);  // drop "KJMDTag"
        edit.SetStartTime(c.start);
        edit.SetEndTime(c.end);
        ASSERT_EQ(edit.SetOutputFile(out), TV_S_OK);
        ASSERT_EQ(edit.Save(), TV_S_OK);

        const auto output = test::ReadAll(out);
        const KmHeaders h = CheckConsistent(output);
        ASSERT_TRUE(h.content && h.data);
        EXPECT_EQ(h.content->title, "New Title");
        EXPECT_EQ(h.content->author, "Old Author");
        EXPECT_EQ(h.properties->flags, 1 | 2 | 8);
        ASSERT_TRUE(h.FileInfo());
        const auto info = LogicalStreamRecord::Read(h.FileInfo()->typeSpecific);
        EXPECT_TRUE(info.Find("File ID"));
        EXPECT_FALSE(info.Find("KJMDTag"));
        const auto before = Packets(input, inHeaders), after = Packets(output, h);
        ASSERT_EQ(after.size(), c.packets);
        for (size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i], before[c.firstPacket + i]) << i;
    }
}

// Other components see the file-info properties as a value list: numbers, buffers and strings by
// type, the rule book kept back and kept in the file.
TEST(KmEdit, FileInfoAsValues) {
    test::ScratchDir dir;
    auto spec = Sample();
    spec.streams.back() = FileInfoStream({NameValueProperty::Number("Indexable", 1), NameValueProperty::Text("ASMRuleBook", "r"),
                                          NameValueProperty::Buffer("KJMDTag", {0, 1}), NameValueProperty::Text("File ID", "id")});
    const std::string in = dir.write("in.km", BuildKmFile(spec));
    KmEditEngine edit;
    ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
    ComPtr<IKMAValues> values;
    ASSERT_EQ(edit.GetFileInfoValues(values.put()), TV_S_OK);
    uint32_t n = 0;
    EXPECT_EQ(values->GetNumberValue("Indexable", &n), TV_S_OK);
    EXPECT_EQ(n, 1u);
    ComPtr<IKMABuffer> text;
    EXPECT_EQ(values->GetStringValue("File ID", text.put()), TV_S_OK);
    EXPECT_TRUE(Failed(values->GetStringValue("ASMRuleBook", text.put())));
    values->SetNumberValue("Indexable", 0);
    ASSERT_EQ(edit.SetFileInfoValues(values.get()), TV_S_OK);
    const auto& back = edit.FileInfo();
    ASSERT_EQ(back.size(), 4u);
    uint32_t indexable = 7;
    EXPECT_TRUE(back[0].AsNumber(&indexable));
    EXPECT_EQ(indexable, 0u);
    EXPECT_EQ(back[1], NameValueProperty::Buffer("KJMDTag", {0, 1}));
    EXPECT_EQ(back[2], NameValueProperty::Text("File ID", "id"));
    EXPECT_EQ(back[3].name, "ASMRuleBook");
}

TEST(KmEdit, DamagedPacketsFailAndLeaveTheOutputAlone) {
    test::ScratchDir dir;
    const std::string in = dir.file("in.km"), out = dir.file("out.km");
    auto spec = Sample();
    spec.trailerBlock.reset();
    spec.id3v1.reset();
    const auto good = BuildKmFile(spec);
    MemorySource src(good);
    const KmHeaders h = ReadKmHeaders(src);
    const size_t firstPacket = h.dataOffset + 18;
    struct Case {
        const char* name;
        size_t at;
        uint8_t value;
    };
    for (const Case& c : {Case{"more packets claimed than held", h.dataOffset + 10, 0x7F},
                          Case{"packet shorter than its header", firstPacket + 3, 4},
                          Case{"packet of another version", firstPacket + 1, 1},
                          Case{"packet past the DATA object", firstPacket + 2, 0xFF}}) {
        SCOPED_TRACE(c.name);
        auto bytes = good;
        bytes[c.at] = c.value;
        WriteFile(in, bytes);
        WriteFile(out, {'o', 'l', 'd'});
        KmEditEngine edit;
        ASSERT_EQ(edit.SetInputFile(in, true), TV_S_OK);
        edit.SetOutputFile(out);
        EXPECT_EQ(edit.Save(), TV_E_FAIL);
        EXPECT_EQ(test::ReadAll(out), (std::vector<uint8_t>{'o', 'l', 'd'}));
    }
    KmEditEngine none;
    EXPECT_EQ(none.Save(), TV_E_NOTLOADED);
}

}  // namespace
}  // namespace tagvera::kmedia::testing
