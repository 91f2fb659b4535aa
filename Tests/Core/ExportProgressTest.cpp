#include "ExportProgress.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
constexpr int32_t kMostPercent = std::numeric_limits<int32_t>::max();
constexpr int32_t kLeastPercent = std::numeric_limits<int32_t>::min();

}  // namespace

TEST(ExportPercent, IsTruncatedTowardZero)
{
    EXPECT_EQ(ExportPercent(0, 3), 0);
    EXPECT_EQ(ExportPercent(1, 3), 33);
    EXPECT_EQ(ExportPercent(2, 3), 66);
    EXPECT_EQ(ExportPercent(999999, 1000000), 99);
    EXPECT_EQ(ExportPercent(3, 3), 100);
    EXPECT_EQ(ExportPercent(-1, 3), -33);
}

// 0.29 times 100 is a little less than 29.
TEST(ExportPercent, IsTheQuotientTimes100)
{
    EXPECT_EQ(ExportPercent(29, 100), 28);
    EXPECT_EQ(ExportPercent(29 * (int64_t(1) << 40), 100 * (int64_t(1) << 40)), 28);
}

TEST(ExportPercent, CanPass100)
{
    EXPECT_EQ(ExportPercent(5, 4), 125);
}

TEST(ExportPercent, IsExactForSizesBeyond32Bits)
{
    EXPECT_EQ(ExportPercent(int64_t(1) << 40, int64_t(1) << 42), 25);
}

TEST(ExportPercent, ATotalOf0GivesADefinedNumber)
{
    EXPECT_EQ(ExportPercent(0, 0), 0);
    EXPECT_EQ(ExportPercent(1, 0), kMostPercent);
    EXPECT_EQ(ExportPercent(-1, 0), kLeastPercent);
}

TEST(ExportPercent, AnOverflowGivesADefinedNumber)
{
    EXPECT_EQ(ExportPercent(kMost, 1), kMostPercent);
    EXPECT_EQ(ExportPercent(kMost, -1), kLeastPercent);
    EXPECT_EQ(ExportPercent(kLeast, 1), kLeastPercent);
    EXPECT_EQ(ExportPercent(21474836, 1), 2147483600);
    EXPECT_EQ(ExportPercent(21474837, 1), kMostPercent);
}

TEST(AddSizes, IsTheSumWithin64Bits)
{
    EXPECT_EQ(AddSizes(2, 3), 5);
    EXPECT_EQ(AddSizes(-2, 3), 1);
    EXPECT_EQ(AddSizes(kMost, kLeast), -1);
}

TEST(AddSizes, AnOverflowIsHeldAtTheEnd)
{
    EXPECT_EQ(AddSizes(kMost, 1), kMost);
    EXPECT_EQ(AddSizes(kMost, kMost), kMost);
    EXPECT_EQ(AddSizes(kLeast, -1), kLeast);
}
