#include "FolderIndex.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr Way kWay = {7, 8};

std::shared_ptr<FolderMap> MapOf(const std::string &prefix, size_t count)
{
    auto map = std::make_shared<FolderMap>();
    for (size_t i = 0; i < count; ++i)
        map->Add(prefix + std::to_string(i), {i, 2 * i, 3 * i});
    map->Seal();
    return map;
}

TEST(FolderIndex, EveryNameLeadsToItsNode)
{
    const auto map = MapOf("n", 1000);
    for (size_t i = 0; i < 1000; ++i) {
        const auto node = map->Find("n" + std::to_string(i));
        ASSERT_TRUE(node);
        EXPECT_EQ(node->place, i);
        EXPECT_EQ(node->size, 2 * i);
    }
    EXPECT_FALSE(map->Find("n1000"));
    EXPECT_FALSE(map->Find("N1"));
    EXPECT_FALSE(map->Find(""));
}

TEST(FolderIndex, OfTwoEqualNamesTheFirstIsFound)
{
    FolderMap map;
    map.Add("same", {1, 0, 0});
    map.Add("same", {2, 0, 0});
    map.Seal();
    EXPECT_EQ(map.Find("same")->place, 1u);
}

TEST(FolderIndex, TheFolderUsedLeastRecentlyIsForgottenFirst)
{
    FolderIndex index;
    const auto large = MapOf("x", FolderIndex::kMostEntries / 2);
    index.Keep(1, kWay, large);
    index.Keep(2, kWay, large);
    EXPECT_TRUE(index.Find(1, kWay));
    index.Keep(3, kWay, MapOf("y", 1));
    EXPECT_TRUE(index.Find(1, kWay));
    EXPECT_FALSE(index.Find(2, kWay));
    EXPECT_TRUE(index.Find(3, kWay));
}

TEST(FolderIndex, ATreeOfAMillionEntriesIsKept)
{
    FolderIndex index;
    const auto thousand = MapOf("x", 1000);
    for (uint64_t folder = 0; folder < 1000; ++folder)
        index.Keep(folder, kWay, thousand);
    for (uint64_t folder = 0; folder < 1000; ++folder)
        EXPECT_TRUE(index.Find(folder, kWay));
}

TEST(FolderIndex, AFolderThatIsTooLargeIsNotKept)
{
    FolderIndex index;
    const auto map = MapOf("x", FolderIndex::kMostEntries + 1);
    EXPECT_FALSE(map->IsWhole());
    EXPECT_EQ(map->Size(), 0u);
    index.Keep(1, kWay, map);
    EXPECT_FALSE(index.Find(1, kWay));
}

TEST(FolderIndex, AFolderIsNotKnownByAnotherWay)
{
    FolderIndex index;
    index.Keep(1, kWay, MapOf("x", 1));
    EXPECT_FALSE(index.Find(1, {7, 9}));
    EXPECT_FALSE(index.Find(1, {6, 8}));
    EXPECT_TRUE(index.Find(1, kWay));
}

TEST(FolderIndex, NoMoreFoldersAreKeptThanItsLimit)
{
    FolderIndex index;
    for (uint64_t place = 0; place <= FolderIndex::kMostFolders; ++place)
        index.Keep(place, kWay, MapOf("x", 1));
    EXPECT_FALSE(index.Find(0, kWay));
    EXPECT_TRUE(index.Find(1, kWay));
    EXPECT_TRUE(index.Find(FolderIndex::kMostFolders, kWay));
}

}  // namespace
}  // namespace vx
