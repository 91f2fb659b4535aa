// The tree of a mount, without a mount: numbers, names, what is kept.
#include "FolderCache.h"
#include "MountedVolume.h"
#include "NodeTable.h"
#include "ScriptedVolume.h"
#include "SipHash.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace vx {
namespace {

// Of the authors: key and bytes count up from 0.
TEST(SipHash, GivesTheHashesOfItsAuthors)
{
    const std::array<uint64_t, 2> key = {0x0706050403020100, 0x0F0E0D0C0B0A0908};
    std::string bytes;
    EXPECT_EQ(SipHash(key, bytes), 0x726fdb47dd0e0e31U);
    for (char byte = 0; byte < 15; ++byte)
        bytes += byte;
    EXPECT_EQ(SipHash(key, bytes), 0xa129ca6149be45e5U);
}

class MountedTree : public testing::Test {
protected:
    MountedVolume::Number Find(MountedVolume::Number folder, const char *name)
    {
        MountedVolume::Found found;
        EXPECT_EQ(_mounted.Find(folder, name, &found), 0) << name;
        return found.number;
    }

    ScriptedVolume _volume;
    const VolumeReports _reports{nullptr, _volume};
    MountedVolume _mounted{_volume, _reports};
};

TEST_F(MountedTree, GivesAnEntryTheSameNumberAfterItWasForgotten)
{
    _volume.Root().Folder(u"a").File(u"b.txt", 5);
    const auto folder = Find(NodeTable::kRoot, "a");
    const auto file = Find(folder, "b.txt");
    _mounted.Forget(file, 1);
    _mounted.Forget(folder, 1);
    ShownEntry entry;
    EXPECT_EQ(_mounted.Describe(file, &entry), ESTALE);
    EXPECT_EQ(Find(NodeTable::kRoot, "a"), folder);
    EXPECT_EQ(Find(folder, "b.txt"), file);
}

TEST_F(MountedTree, ReadsAFolderOnceForAllItsNames)
{
    for (int i = 0; i < 50; ++i)
        _volume.Root().File(u"file" + std::u16string(1, static_cast<char16_t>(u'A' + i)), 1);
    for (int i = 0; i < 50; ++i)
        Find(NodeTable::kRoot, ("file" + std::string(1, static_cast<char>('A' + i))).c_str());
    EXPECT_EQ(_volume.Count(VolumeOperation::kFindFirstFile), 1U);
}

TEST_F(MountedTree, TriesAFolderAgainThatCouldNotBeRead)
{
    _volume.Root().File(u"a.txt", 1);
    _volume.AtCall(VolumeOperation::kFindFirstFile, 1, Fault::kFail);
    MountedVolume::Found found;
    EXPECT_EQ(_mounted.Find(NodeTable::kRoot, "a.txt", &found), EIO);
    EXPECT_EQ(_mounted.Find(NodeTable::kRoot, "a.txt", &found), 0);
}

TEST_F(MountedTree, ClosesWhatItOpens)
{
    _volume.Root().File(u"a.txt", 10);
    const auto number = Find(NodeTable::kRoot, "a.txt");
    std::unique_ptr<MountedFile> file;
    bool hasOtherSize = false;
    bool isFirst = false;
    ASSERT_EQ(_mounted.OpenFile(number, &file, &hasOtherSize, &isFirst), 0);
    EXPECT_TRUE(isFirst);
    EXPECT_FALSE(hasOtherSize);
    file.reset();
    ASSERT_EQ(_mounted.OpenFile(number, &file, &hasOtherSize, &isFirst), 0);
    EXPECT_FALSE(isFirst);
    file.reset();
    EXPECT_EQ(_volume.OpenHandles(), 0U);
}

TEST_F(MountedTree, ReadsInAnyOrderAndUpToTheEnd)
{
    _volume.Root().File(u"a.txt", std::string("0123456789"));
    std::unique_ptr<MountedFile> file;
    bool flags[2] = {};
    ASSERT_EQ(_mounted.OpenFile(Find(NodeTable::kRoot, "a.txt"), &file, &flags[0], &flags[1]), 0);
    char buffer[20] = {};
    uint32_t done = 0;
    EXPECT_EQ(file->Read(7, buffer, 20, &done), 0);
    EXPECT_EQ(std::string(buffer, done), "789");
    EXPECT_EQ(file->Read(0, buffer, 4, &done), 0);
    EXPECT_EQ(std::string(buffer, done), "0123");
    EXPECT_EQ(file->Read(4, buffer, 2, &done), 0);
    EXPECT_EQ(std::string(buffer, done), "45");
    EXPECT_EQ(file->Read(10, buffer, 4, &done), 0);
    EXPECT_EQ(done, 0U);
}

// Whatever a failed read leaves in the buffer, and wherever it leaves the position.
TEST_F(MountedTree, GivesNoBytesOfAReadThatFailed)
{
    for (const Fault fault : {Fault::kFail, Fault::kShorten, Fault::kLie}) {
        ScriptedVolume volume;
        volume.Root().File(u"a.txt", std::string("0123456789"));
        volume.AtCall(VolumeOperation::kReadFile, 1, fault);
        const VolumeReports reports(nullptr, volume);
        MountedVolume mounted(volume, reports);
        MountedVolume::Found found;
        ASSERT_EQ(mounted.Find(NodeTable::kRoot, "a.txt", &found), 0);
        std::unique_ptr<MountedFile> file;
        bool flags[2] = {};
        ASSERT_EQ(mounted.OpenFile(found.number, &file, &flags[0], &flags[1]), 0);
        char buffer[4] = {};
        uint32_t done = 0;
        EXPECT_EQ(file->Read(0, buffer, 4, &done), EIO);
        EXPECT_EQ(done, 0U);
        EXPECT_EQ(file->Read(0, buffer, 4, &done), 0);
        EXPECT_EQ(std::string(buffer, done), "0123");
        EXPECT_EQ(file->Read(2, buffer, 4, &done), 0);
        EXPECT_EQ(std::string(buffer, done), "2345");
    }
}

TEST_F(MountedTree, NotesThatAFileIsLongerThanItsFolderSays)
{
    _volume.Root().File(u"a.txt", 20).CatalogueSize(10);
    const auto number = Find(NodeTable::kRoot, "a.txt");
    std::unique_ptr<MountedFile> file;
    bool hasOtherSize = false;
    bool isFirst = false;
    ASSERT_EQ(_mounted.OpenFile(number, &file, &hasOtherSize, &isFirst), 0);
    EXPECT_TRUE(hasOtherSize);
    ShownEntry entry;
    EXPECT_EQ(_mounted.Describe(number, &entry), 0);
    EXPECT_EQ(entry.size, 20);
}

TEST_F(MountedTree, FollowsAFolderThatIsItsOwnChildOnlyAsFarAsAPathGoes)
{
    _volume.Root().Folder(u"loop").Endless();
    auto folder = Find(NodeTable::kRoot, "loop");
    MountedVolume::Found found;
    int depth = 1;
    while (_mounted.Find(folder, "loop", &found) == 0 && depth < 100000) {
        folder = found.number;
        ++depth;
    }
    EXPECT_LT(depth, 32767 / 5 + 2);
}

TEST(NodeTable, ForgetsTheFoldersAboveWithTheLastEntry)
{
    NodeTable nodes;
    std::vector<NodeTable::Number> way = {NodeTable::kRoot};
    for (int depth = 0; depth < 10000; ++depth)
        way.push_back(nodes.Enter(way.back(), u"folder", {}));
    EXPECT_EQ(nodes.Size(), way.size());
    for (size_t i = 1; i + 1 < way.size(); ++i)
        nodes.Forget(way[i], 1);
    EXPECT_EQ(nodes.Size(), way.size()) << "the last one needs them";
    nodes.Forget(way.back(), 1);
    EXPECT_EQ(nodes.Size(), 1U);
}

TEST(NodeTable, KeepsWhatIsHeldMoreThanOnce)
{
    NodeTable nodes;
    const auto number = nodes.Enter(NodeTable::kRoot, u"a", {});
    EXPECT_EQ(nodes.Enter(NodeTable::kRoot, u"a", {}), number);
    EXPECT_EQ(nodes.NumberOf(NodeTable::kRoot, u"a"), number);
    nodes.Forget(number, 1);
    EXPECT_TRUE(nodes.EntryOf(number));
    nodes.Forget(number, 5);
    EXPECT_FALSE(nodes.EntryOf(number));
    nodes.Forget(NodeTable::kRoot, 5);
    EXPECT_TRUE(nodes.EntryOf(NodeTable::kRoot));
    EXPECT_EQ(nodes.Enter(number, u"b", {}), 0U) << "of a folder that is not held";
}

TEST(FolderCache, DropsTheFolderUsedLeastRecently)
{
    ScriptedVolume volume;
    volume.Root().File(u"a", 1);
    const VolumeReports reports(nullptr, volume);
    const auto folder = ShownFolder::Read(volume, reports, u"");
    FolderCache cache;
    for (uint64_t number = 0; number < FolderCache::kMostFolders; ++number)
        cache.Keep(number, folder);
    EXPECT_NE(cache.Find(0), nullptr);
    cache.Keep(FolderCache::kMostFolders, folder);
    EXPECT_NE(cache.Find(0), nullptr);
    EXPECT_EQ(cache.Find(1), nullptr);
}

TEST(FolderCache, HasNoMoreEntriesThanItsLimit)
{
    constexpr size_t kEntries = 2048;
    ScriptedVolume volume;
    for (size_t i = 0; i < kEntries; ++i)
        volume.Root().File({u'f', static_cast<char16_t>(u'\u4e00' + i)}, 1);
    const VolumeReports reports(nullptr, volume);
    const auto folder = ShownFolder::Read(volume, reports, u"");
    ASSERT_EQ(folder->Size(), kEntries);
    constexpr uint64_t kFolders = FolderCache::kMostEntries / kEntries;
    FolderCache cache;
    for (uint64_t number = 0; number < kFolders; ++number)
        cache.Keep(number, folder);
    EXPECT_NE(cache.Find(1), nullptr);
    EXPECT_NE(cache.Find(0), nullptr);
    cache.Keep(kFolders, folder);
    EXPECT_EQ(cache.Find(2), nullptr);
    EXPECT_NE(cache.Find(0), nullptr);
    EXPECT_NE(cache.Find(3), nullptr);
    EXPECT_NE(cache.Find(kFolders), nullptr);
}

TEST(FolderCache, CountsTheEntriesOfAFolderThatIsKeptAgainOnce)
{
    ScriptedVolume volume;
    for (char16_t i = 0; i < 1024; ++i)
        volume.Root().File({u'f', static_cast<char16_t>(u'\u4e00' + i)}, 1);
    const VolumeReports reports(nullptr, volume);
    const auto folder = ShownFolder::Read(volume, reports, u"");
    FolderCache cache;
    cache.Keep(0, folder);
    for (size_t i = 0; i < 2 * FolderCache::kMostEntries / folder->Size(); ++i)
        cache.Keep(1, folder);
    EXPECT_NE(cache.Find(0), nullptr);
}

}  // namespace
}  // namespace vx
