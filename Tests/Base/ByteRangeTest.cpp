#include "ByteRange.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

std::string Text(const ByteRanges &ranges)
{
    std::string text;
    for (const ByteRange &range : ranges)
        text += std::to_string(range.offset) + "+" + std::to_string(range.length) + " ";
    return text;
}

TEST(ByteRanges, JoinedOnesAreSortedAndOneWhereTheyOverlapOrTouch)
{
    EXPECT_EQ(Text(JoinedRanges({{30, 5}, {0, 10}, {5, 10}, {15, 1}, {17, 3}})), "0+16 17+3 30+5 ");
}

TEST(ByteRanges, OneThatLiesWithinAnotherIsGone)
{
    EXPECT_EQ(Text(JoinedRanges({{0, 100}, {10, 5}, {99, 1}})), "0+100 ");
}

TEST(ByteRanges, ThoseThatAreNoFurtherApartThanTheGapAreOne)
{
    EXPECT_EQ(Text(JoinedRanges({{0, 10}, {14, 6}, {25, 5}}, 4)), "0+20 25+5 ");
}

TEST(ByteRanges, TheirBytesAreCounted)
{
    EXPECT_EQ(BytesIn({}), 0u);
    EXPECT_EQ(BytesIn({{7, 3}, {100, 1ULL << 40}}), (1ULL << 40) + 3);
}

}  // namespace
}  // namespace vx
