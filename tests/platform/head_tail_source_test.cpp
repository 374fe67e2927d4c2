// HeadTailSource: the same bytes as the source for any read, with the small reads near either
// end answered from one read of each end.
#include "base/head_tail_source.h"

#include <gtest/gtest.h>

#include "mpeg/mpeg_test_support.h"
#include "platform/scratch_dir.h"

namespace tagvera {
namespace {

using testing::CountingSource;

std::vector<uint8_t> Read(ByteSource& s, uint64_t offset, size_t n) {
    std::vector<uint8_t> out(n);
    out.resize(s.readAt(offset, out));
    return out;
}

TEST(HeadTailSource, ProbesOfBothEndsCostOneReadEach) {
    const auto bytes = test::Pattern(100'000);
    MemorySource memory(bytes);
    CountingSource file(memory);
    HeadTailSource probes(file, 8192, 4096);
    const auto head = Read(probes, 0, 10);
    const auto tag = Read(probes, 0, 1300);
    const auto after = Read(probes, 1300, 10);
    const auto id3v1 = Read(probes, 100'000 - 128, 128);
    const auto footer = Read(probes, 100'000 - 138, 10);
    EXPECT_EQ(file.reads, 2u);
    EXPECT_EQ(tag, Read(file, 0, 1300));
    EXPECT_EQ(after, Read(file, 1300, 10));
    EXPECT_EQ(id3v1, Read(file, 100'000 - 128, 128));
    EXPECT_EQ(footer, Read(file, 100'000 - 138, 10));
    EXPECT_EQ(head, std::vector<uint8_t>(tag.begin(), tag.begin() + 10));

    // Across the head's end, in the middle, larger than the head: each goes to the file.
    const auto across = Read(file, 8000, 500), middle = Read(file, 50'000, 64), large = Read(file, 0, 20'000);
    file.reads = 0;
    EXPECT_EQ(Read(probes, 8000, 500), across);
    EXPECT_EQ(Read(probes, 50'000, 64), middle);
    EXPECT_EQ(Read(probes, 0, 20'000), large);
    EXPECT_EQ(file.reads, 3u);
    EXPECT_TRUE(Read(probes, 100'000, 5).empty());
}

TEST(HeadTailSource, EveryReadOfASmallFileGivesTheSourcesBytes) {
    const auto bytes = test::Pattern(300, 3);
    MemorySource memory(bytes);
    CountingSource file(memory);
    HeadTailSource probes(file, 128, 64);
    for (uint64_t offset = 0; offset <= 310; offset += 7)
        for (size_t n : {0u, 1u, 10u, 64u, 65u, 128u, 200u, 400u})
            ASSERT_EQ(Read(probes, offset, n), Read(file, offset, n)) << offset << " + " << n;
}

}  // namespace
}  // namespace tagvera
