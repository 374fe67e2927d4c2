#include "kmedia/km_checker.h"

#include <gtest/gtest.h>

#include "base/byte_source.h"
#include "kmedia/convert/packet_scan.h"

namespace tagvera::kmedia::testing {

std::vector<std::vector<uint8_t>> Packets(const std::vector<uint8_t>& file, const KmHeaders& h) {
    MemorySource src(file);
    std::vector<std::vector<uint8_t>> out;
    PacketScan scan(src, h.dataOffset, *h.data);
    const PacketScan::Consumer keep = [&](std::span<const uint8_t> b) { out.back().insert(out.back().end(), b.begin(), b.end()); };
    scan.Walk([&](const ScannedPacket&) { out.emplace_back(); }, &keep);
    return out;
}

KmHeaders CheckConsistent(const std::vector<uint8_t>& file, std::optional<uint64_t> mediaEnd) {
    MemorySource src(file);
    const KmHeaders h = ReadKmHeaders(src, {.readIndexes = true});
    EXPECT_TRUE(h.problems.empty());
    EXPECT_TRUE(h.properties && h.data);
    if (!h.properties || !h.data) return h;
    EXPECT_EQ(h.properties->dataOffset, h.dataOffset);
    EXPECT_EQ(h.properties->numPackets, h.data->numPackets);
    EXPECT_EQ(h.properties->numStreams, h.streams.size());
    const uint64_t last = mediaEnd.value_or(file.size());
    EXPECT_EQ(h.dataOffset + h.data->header.size + 0u, h.indexes.empty() ? last : h.properties->indexOffset);
    EXPECT_GE(h.fileHeader.numHeaders, 2 + 2 + h.streams.size());
    uint64_t end = h.dataOffset + h.data->header.size;
    for (size_t i = 0; i < h.indexes.size(); ++i) {
        EXPECT_EQ(h.indexOffsets[i], end);
        end += h.indexes[i].Size();
        for (const auto& r : h.indexes[i].records) {
            // Each record points at a packet of its stream with its timestamp.
            EXPECT_EQ(file[r.offset + 5], h.indexes[i].streamNumber);
            EXPECT_EQ(Be32(&file[r.offset + 6]), r.timestampMs);
        }
    }
    EXPECT_EQ(end, last);
    return h;
}

}  // namespace tagvera::kmedia::testing
