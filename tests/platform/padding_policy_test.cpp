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
}

TEST(PaddingPolicy, FitsInPlaceWhenTheOldSpaceIsEnough) {
    EXPECT_EQ(PlanPadding(500, 1000).inPlace, true);
    EXPECT_EQ(PlanPadding(500, 1000).padding, 500u);
    EXPECT_EQ(PlanPadding(1000, 1000).padding, 0u);
    EXPECT_TRUE(PlanPadding(1000, 1000).inPlace);
    // In place never shrinks, however much slack there is: that would move the rest of the file.
    EXPECT_TRUE(PlanPadding(10, 10'000'000).inPlace);
}

TEST(PaddingPolicy, GrowingPastTheOldSpaceRewritesWithSlack) {
    const Plan p = PlanPadding(1001, 1000);
    EXPECT_FALSE(p.inPlace);
    EXPECT_EQ(p.padding, 1024u);
    EXPECT_EQ(PlanPadding(2 << 20, 0).padding, 128u * 1024);
}

TEST(PaddingPolicy, AFillerTooSmallToExpressDoesNotFit) {
    // An MP4 `free` atom needs 8 bytes: 5 bytes left over cannot be filled.
    EXPECT_FALSE(PlanPadding(995, 1000, 8).inPlace);
    EXPECT_TRUE(PlanPadding(992, 1000, 8).inPlace);
    EXPECT_TRUE(PlanPadding(1000, 1000, 8).inPlace);
}

TEST(PaddingPolicy, ExcessiveSlackShrinksOnlyWhenRewritingAnyway) {
    const Plan shrink = PlanPadding(1000, 1000 + (1 << 20), 0, true);
    EXPECT_FALSE(shrink.inPlace);
    EXPECT_EQ(shrink.padding, 1024u);
    const Plan keep = PlanPadding(1000, 1000 + 4096, 0, true);
    EXPECT_EQ(keep.padding, 4096u);
    const Plan tooLittle = PlanPadding(1000, 1100, 0, true);
    EXPECT_EQ(tooLittle.padding, 1024u);
    EXPECT_FALSE(IsExcessivePadding(64 * 1024, 0));
    EXPECT_TRUE(IsExcessivePadding(64 * 1024 + 1, 0));
    EXPECT_FALSE(IsExcessivePadding(200 * 1024, 1 << 20)) << "large tags may keep more";
}

}  // namespace
}  // namespace tagvera::padding
