#include "FaultMap.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(FaultMap, RunsThatTouchAreOne)
{
    FaultMap map;
    EXPECT_TRUE(map.Add({0, 10, false}));
    EXPECT_TRUE(map.Add({20, 30, true}));
    EXPECT_TRUE(map.Add({10, 20, true}));
    const auto run = map.At(15);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->begin, 0u);
    EXPECT_EQ(run->end, 30u);
    EXPECT_TRUE(run->isOpen);
}

TEST(FaultMap, TheRunThatEndsLastSaysWhetherItIsOpen)
{
    FaultMap map;
    map.Add({20, 30, false});
    map.Add({10, 20, true});
    EXPECT_FALSE(map.At(10)->isOpen);
    map.Add({25, 40, true});
    EXPECT_TRUE(map.At(10)->isOpen);
    map.Add({10, 40, false});
    EXPECT_FALSE(map.At(10)->isOpen);
}

TEST(FaultMap, OnlyAnOpenRunIsThereWhereItEnds)
{
    FaultMap map;
    map.Add({0, 10, false});
    map.Add({20, 30, true});
    EXPECT_TRUE(map.At(9));
    EXPECT_FALSE(map.At(10));
    EXPECT_FALSE(map.At(19));
    EXPECT_TRUE(map.At(30));
    EXPECT_FALSE(map.At(31));
    EXPECT_EQ(map.NextBegin(10), 20u);
    EXPECT_EQ(map.NextBegin(20), 20u);
    EXPECT_EQ(map.NextBegin(21), UINT64_MAX);
}

TEST(FaultMap, AFullMapTakesOnlyWhatMakesARunLonger)
{
    FaultMap map;
    for (uint64_t i = 0; i < FaultMap::kMostRuns; ++i)
        ASSERT_TRUE(map.Add({4 * i, 4 * i + 1, false}));
    EXPECT_FALSE(map.Add({2, 3, false}));
    EXPECT_FALSE(map.At(2));
    EXPECT_TRUE(map.Add({1, 2, false}));
    EXPECT_TRUE(map.At(1));
}

}  // namespace
}  // namespace vx
