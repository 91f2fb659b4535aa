#include "NtfsRuns.h"

#include <gtest/gtest.h>
#include <vector>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr NtfsGeometry kGeometry = {4096, 1024, 1000};

TEST(NtfsRuns, RunsAndHolesAreToldApart)
{
    std::vector<FileRun> runs;
    // Two clusters at 16, a hole of three, one cluster four before the first one.
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0x01, 3, 0x11, 1, 0xFC, 0}, 0, kGeometry, &runs));
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].offset, 16u * 4096);
    EXPECT_EQ(runs[0].length, 2u * 4096);
    EXPECT_EQ(runs[1].kind, FileRun::Kind::kZeros);
    EXPECT_EQ(runs[1].position, 2u * 4096);
    EXPECT_EQ(runs[2].offset, 12u * 4096);
    EXPECT_EQ(runs[2].position, 5u * 4096);
}

TEST(NtfsRuns, WhatLiesOffTheVolumeOrHasNoLengthIsDamaged)
{
    const Bytes damaged[] = {
        {0x21, 2, 0xE7, 0x03, 0},
        {0x11, 1, 0x80, 0},
        {0x11, 0, 5, 0},
        {0x11, 0xFF, 5, 0},
        {0x10, 5, 0},
        {0x88, 1, 2},
        {0x9F, 1, 2},
        {0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 1},
    };
    for (const Bytes &list : damaged) {
        std::vector<FileRun> runs;
        EXPECT_FALSE(AppendRuns(list, 0, kGeometry, &runs)) << int{list[0]};
    }
}

TEST(NtfsRuns, AListThatBeginsBeforeTheLastOneEndsIsDamaged)
{
    std::vector<FileRun> runs;
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 0, kGeometry, &runs));
    EXPECT_FALSE(AppendRuns(Bytes{0x11, 2, 16, 0}, 1, kGeometry, &runs));
    EXPECT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 2, kGeometry, &runs));
}

TEST(NtfsRuns, AListThatBeginsFurtherOnLeavesAGap)
{
    std::vector<FileRun> runs;
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 0, kGeometry, &runs));
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 18, 0}, 3, kGeometry, &runs));
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1].position, uint64_t{3} * kGeometry.clusterBytes);
    EXPECT_TRUE(AreCovered(runs, 0, uint64_t{2} * kGeometry.clusterBytes));
    EXPECT_FALSE(AreCovered(runs, 0, uint64_t{2} * kGeometry.clusterBytes + 1));
    EXPECT_TRUE(AreCovered(runs, runs[1].position + 1, uint64_t{2} * kGeometry.clusterBytes - 1));
    EXPECT_FALSE(AreCovered(runs, runs[1].position, uint64_t{2} * kGeometry.clusterBytes + 1));
    EXPECT_TRUE(AreCovered(runs, 0, 0));
}

}  // namespace
}  // namespace vx
