#include "FatTime.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(FatTime, ATimeWithAZoneIsExact)
{
    // 2021-03-04 05:06:08 and 1.5 s, one hour east of UTC.
    const uint32_t stamp = (41u << 9 | 3 << 5 | 4) << 16 | (5 << 11 | 6 << 5 | 4);
    constexpr uint64_t kUtc = (1614834368u + 1 - 3600 + 11644473600u) * 10000000ull + 5000000;
    EXPECT_EQ(FileTimeFromExfat(stamp, 150, 0x84), kUtc);
}

TEST(FatTime, ADateThatIsNoneIsZero)
{
    EXPECT_EQ(FileTimeFromFat(0, 0, 0), 0u);
    EXPECT_EQ(FileTimeFromFat(41u << 9 | 13 << 5 | 1, 0, 0), 0u);
}

}  // namespace
}  // namespace vx
