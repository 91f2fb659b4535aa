// What an export has put into its destination is known again, and nothing else is taken for it.
#include "PlacedFiles.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vx {
namespace {

constexpr PlacedFiles::Number kNone = PlacedFiles::kNone;
constexpr FileIdentity kOld = {1, 10};
constexpr FileIdentity kFirst = {1, 11};
constexpr FileIdentity kSecond = {1, 12};

class Placed : public ::testing::Test {
protected:
    PlacedFiles _placed{{}, 4};
};

TEST_F(Placed, AFileIsKnownAgainByItsIdentityUnderAnyPath)
{
    EXPECT_EQ(_placed.Place(kFirst, "A/x", 3), kNone);
    EXPECT_EQ(_placed.At("other", kFirst), 3u);
    EXPECT_EQ(_placed.At("other", {2, 11}), kNone);
    EXPECT_EQ(_placed.At("other", {11, 1}), kNone);
}

TEST_F(Placed, AFileWhoseIdentityChangedIsKnownByItsPath)
{
    EXPECT_EQ(_placed.Place(kFirst, "A/x", 3), kNone);
    EXPECT_EQ(_placed.At("A/x", kOld), 3u);
    EXPECT_EQ(_placed.At("a/x", kOld), kNone);
}

TEST_F(Placed, WhereCaseMakesNoDifferenceItIsKnownByAPathInAnotherCase)
{
    DestinationTraits traits;
    traits.ignoresCase = true;
    PlacedFiles placed(traits, 4);
    EXPECT_EQ(placed.Place(kFirst, "A/x", 3), kNone);
    EXPECT_EQ(placed.At("a/X", kOld), 3u);
}

TEST_F(Placed, OfTwoFilesForOnePlaceTheSecondIsRefused)
{
    EXPECT_EQ(_placed.Place(kFirst, "a/b", 3), kNone);
    EXPECT_EQ(_placed.Place(kSecond, "a/b", 4), 3u);
    EXPECT_EQ(_placed.At("other", kSecond), kNone);
}

TEST_F(Placed, APlaceThatWasNotTakenAfterAllIsFreeAgain)
{
    EXPECT_EQ(_placed.Place(kFirst, "a", 3), kNone);
    _placed.Forget(kFirst, "a");
    EXPECT_EQ(_placed.At("a", kFirst), kNone);
    EXPECT_EQ(_placed.Place(kSecond, "a", 4), kNone);
}

TEST_F(Placed, AHundredThousandAreKnownThoughFourWereExpected)
{
    for (uint32_t i = 0; i < 100000; ++i)
        ASSERT_EQ(_placed.Place({7, i}, std::to_string(i), i), kNone);
    for (uint32_t i = 0; i < 100000; ++i) {
        ASSERT_EQ(_placed.At("other", {7, i}), i);
        ASSERT_EQ(_placed.At(std::to_string(i), {8, i}), i);
    }
    EXPECT_EQ(_placed.At("other", {7, 100000}), kNone);
}

TEST_F(Placed, OfManyThreadsOneTakesAPlace)
{
    std::atomic<int> winners{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &winners, thread] {
            for (uint32_t i = 0; i < 1000; ++i) {
                const FileIdentity own = {thread, i};
                if (_placed.Place(own, std::to_string(i), thread) == kNone)
                    ++winners;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(winners, 1000);
}

}  // namespace
}  // namespace vx
