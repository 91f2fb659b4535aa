#include "FileTime.h"

#include <gtest/gtest.h>
#include <limits>

namespace vx {
namespace {

uint64_t At(int64_t seconds, long nanoseconds)
{
    timespec time = {};
    time.tv_sec = seconds;
    time.tv_nsec = nanoseconds;
    return FileTimeFromTimespec(time);
}

TEST(FileTime, TheYear1970IsTheKnownNumber)
{
    EXPECT_EQ(At(0, 0), 116444736000000000u);
}

TEST(FileTime, NanosecondsAreRoundedDownToUnitsOf100)
{
    EXPECT_EQ(At(1, 999999999), 116444736000000000u + 19999999u);
}

TEST(FileTime, ATimeBefore1970KeepsItsFraction)
{
    EXPECT_EQ(At(-1, 500000000), 116444736000000000u - 5000000u);
}

TEST(FileTime, TheYear1601IsZero)
{
    EXPECT_EQ(At(-11644473600, 0), 0u);
    EXPECT_EQ(At(-11644473600, 100), 1u);
}

TEST(FileTime, ATimeBefore1601IsZero)
{
    EXPECT_EQ(At(-11644473601, 999999999), 0u);
    EXPECT_EQ(At(std::numeric_limits<int64_t>::min(), 0), 0u);
}

TEST(FileTime, ATimeTooLateIsTheGreatestCount)
{
    constexpr uint64_t kGreatest = std::numeric_limits<int64_t>::max();
    constexpr int64_t kLastSecond = 922337203685 - 11644473600;
    EXPECT_EQ(At(kLastSecond - 1, 0), 9223372036840000000u);
    EXPECT_EQ(At(kLastSecond, 0), kGreatest);
    EXPECT_EQ(At(std::numeric_limits<int64_t>::max(), 999999999), kGreatest);
}

}  // namespace
}  // namespace vx
