#include "LostRanges.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

bool Holds(const ByteRanges &ranges, uint64_t place)
{
    for (const ByteRange &range : ranges) {
        if (range.offset <= place && place < range.offset + range.length)
            return true;
    }
    return false;
}

TEST(LostRanges, AreInOrderAndJoinedWhereTheyTouch)
{
    LostRanges lost;
    lost.Add({100, 10});
    lost.Add({0, 10});
    lost.Add({50, 10});
    lost.Add({10, 5});
    lost.Add({52, 48});
    ASSERT_EQ(lost.All().size(), 2u);
    EXPECT_EQ(lost.All()[0].offset, 0u);
    EXPECT_EQ(lost.All()[0].length, 15u);
    EXPECT_EQ(lost.All()[1].offset, 50u);
    EXPECT_EQ(lost.All()[1].length, 60u);
}

TEST(LostRanges, SayTooMuchRatherThanTooLittleWhenThereAreTooMany)
{
    LostRanges lost;
    const uint64_t many = 2 * LostRanges::kMost;
    for (uint64_t i = 0; i < many; ++i)
        lost.Add({i * 7919 % many * 100, 10});
    EXPECT_EQ(lost.All().size(), LostRanges::kMost);
    for (uint64_t i = 0; i < many; ++i)
        ASSERT_TRUE(Holds(lost.All(), i * 100 + 9));
    for (size_t i = 1; i < lost.All().size(); ++i)
        ASSERT_LT(lost.All()[i - 1].offset + lost.All()[i - 1].length, lost.All()[i].offset);
}

}  // namespace
}  // namespace vx
