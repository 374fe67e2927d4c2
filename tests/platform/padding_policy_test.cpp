#include "base/padding_policy.h"

#include <gtest/gtest.h>

namespace tagvera::padding {
namespace {

TEST(PaddingPolicy, GrowingLeavesAtLeastOneKilobyteInWholeKilobytes) {
    EXPECT_EQ(GrowPadding(0), 1024u);
    EXPECT_EQ(GrowPadding(16 * 1024), 1024u);
    EXPECT_EQ(GrowPadding(16 * 1024 + 16), 2048u);
    EXPECT_EQ(GrowPadding(1 << 20), 64u * 1024);
    EXPECT_EQ(GrowPadding(3'000'000) % 1024, 0u);
    EXPECT_GE(GrowPadding(UINT64_MAX), UINT64_MAX / 16) << "no wrap-around on absurd sizes";
    EXPECT_FALSE(IsExcessivePadding(64 * 1024, 0));
    EXPECT_TRUE(IsExcessivePadding(64 * 1024 + 1, 0));
    EXPECT_FALSE(IsExcessivePadding(200 * 1024, 1 << 20)) << "large tags may keep more";
}

TEST(PaddingPolicy, PlansInPlaceOrARewriteWithSlack) {
    const struct {
        uint64_t needed, old, filler;
        bool shrink, inPlace;
        uint64_t padding;
        const char* why;
    } cases[] = {
        {500, 1000, 0, false, true, 500, "the old space is enough"},
        {1000, 1000, 0, false, true, 0, "exactly"},
        {10, 10'000'000, 0, false, true, 9'999'990, "in place never shrinks: that would move the rest"},
        {1001, 1000, 0, false, false, 1024, "growing past the old space rewrites with slack"},
        {2 << 20, 0, 0, false, false, 128 * 1024, "a large tag gets more slack"},
        // An MP4 `free` atom needs 8 bytes: 5 bytes left over cannot be filled.
        {995, 1000, 8, false, false, 1024, "a filler too small to express"},
        {992, 1000, 8, false, true, 8, "room for the filler"},
        {1000, 1000, 8, false, true, 0, "no filler needed"},
        {1000, 1000 + (1 << 20), 0, true, false, 1024, "excessive slack shrinks when rewriting anyway"},
        {1000, 1000 + 4096, 0, true, false, 4096, "modest slack stays in a rewrite"},
        {1000, 1100, 0, true, false, 1024, "too little slack in a rewrite grows"},
    };
    for (const auto& c : cases) {
        const Plan p = PlanPadding(c.needed, c.old, c.filler, c.shrink);
        EXPECT_EQ(p.inPlace, c.inPlace) << c.why;
        EXPECT_EQ(p.padding, c.padding) << c.why;
    }
}

}  // namespace
}  // namespace tagvera::padding
