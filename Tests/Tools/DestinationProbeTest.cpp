// What is found out about the file system of a destination, on disks of other systems.
#include "DestinationProbe.h"
#include "MountedDisk.h"
#include "ToolFixture.h"
#include "UniqueFd.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

constexpr int64_t kSecond = 1000000000;

class Probe : public ToolTest {
protected:
    static DestinationTraits TraitsOf(const std::string &path)
    {
        const UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY));
        return ProbeDestination(folder.Get());
    }
    static bool IsRefused(const DestinationTraits &traits, char character)
    {
        return traits.refused.find(character) != std::string::npos;
    }
};

TEST_F(Probe, AnOrdinaryFolderTakesEveryName)
{
    _folder.WriteFile("probe", "x");
    if (access(_folder.At("PROBE").c_str(), F_OK) == 0)
        GTEST_SKIP() << "the disk of this test ignores case";
    const DestinationTraits traits = TraitsOf(_destination);
    EXPECT_FALSE(traits.MergesNames());
    EXPECT_FALSE(traits.refusesEnds);
    EXPECT_FALSE(traits.refusesDevices);
    EXPECT_EQ(traits.refused, "");
    EXPECT_GE(traits.largestFile, int64_t{1} << 40);
    EXPECT_EQ(traits.timeStep, 1);
    EXPECT_EQ(static_cast<long>(traits.longestName), pathconf(_destination.c_str(), _PC_NAME_MAX));
}

TEST_F(Probe, NothingThatExistsChangesAndNothingStays)
{
    for (const std::string name : {"case", "CASE", "probe", "nul.txt"})
        _folder.WriteFile("destination/" + name, name);
    const Files before = FilesBelow(_destination);
    TraitsOf(_destination);
    EXPECT_EQ(FilesBelow(_destination), before);
    EXPECT_EQ(rmdir(_destination.c_str()), -1);
    for (const auto &[name, contents] : before)
        unlink((_destination + "/" + name).c_str());
    EXPECT_EQ(rmdir(_destination.c_str()), 0) << "something hidden stayed";
}

TEST_F(Probe, WhatAKilledRunHasLeftIsRemovedByTheNext)
{
    _folder.WriteFile("destination/.volume-export-12345/case", "");
    _folder.MakeFolder("destination/.volume-export-678");
    TraitsOf(_destination);
    EXPECT_EQ(rmdir(_destination.c_str()), 0) << "something hidden stayed";
}

TEST_F(Probe, AFolderWithContentsOrOfAnotherNameStays)
{
    _folder.WriteFile("destination/.volume-export-12345/notes.txt", "mine");
    _folder.WriteFile("destination/.volume-export-old/empty", "");
    const Files before = FilesBelow(_destination);
    TraitsOf(_destination);
    EXPECT_EQ(FilesBelow(_destination), before);
}

TEST_F(Probe, RunsAtTheSameTimeDoNotDisturbEachOther)
{
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &wrong] {
            for (int i = 0; i < 20; ++i) {
                const DestinationTraits traits = TraitsOf(_destination);
                wrong += traits.refusesEnds || !traits.refused.empty() || traits.timeStep != 1;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(rmdir(_destination.c_str()), 0) << "something hidden stayed";
}

TEST_F(Probe, AFolderThatCannotBeTriedIsTakenToBeAsUsual)
{
    const DestinationTraits traits = ProbeDestination(-1);
    EXPECT_EQ(traits.longestName, DestinationTraits::kUsualLongestName);
    EXPECT_FALSE(traits.MergesNames());
    EXPECT_EQ(traits.timeStep, 2 * kSecond);  // the longest of all
}

TEST_F(Probe, ADiskWithTheRulesOfWindowsIsKnown)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    const DestinationTraits traits = TraitsOf(disk.Path());
    EXPECT_TRUE(traits.ignoresCase);
    EXPECT_FALSE(traits.ignoresForm);
    EXPECT_TRUE(traits.refusesEnds);
    EXPECT_TRUE(traits.refusesDevices);
    for (const char character : std::string("\"*:<>?|\x01\x1f"))
        EXPECT_TRUE(IsRefused(traits, character)) << character;
    EXPECT_GT(traits.largestFile, int64_t{1} << 32);
    EXPECT_EQ(traits.timeStep, 100);
    EXPECT_TRUE(FilesBelow(disk.Path()).empty());
}

// Otherwise names would change, and be others than those of an earlier run.
TEST_F(Probe, ADiskThatGetsFullMeanwhileRefusesNoName)
{
    const MountedDisk disk(DiskKind::kFewFiles);
    VX_NEEDS_DISK(disk);
    const DestinationTraits traits = TraitsOf(disk.Path());
    EXPECT_EQ(traits.refused, "");
    EXPECT_FALSE(traits.refusesEnds);
    EXPECT_FALSE(traits.refusesDevices);
    EXPECT_FALSE(traits.MergesNames());
    EXPECT_TRUE(FilesBelow(disk.Path()).empty());
}

TEST_F(Probe, AFatDiskHasFilesBelowFourGibibytes)
{
    const MountedDisk disk(DiskKind::kFat);
    VX_NEEDS_DISK(disk);
    const DestinationTraits traits = TraitsOf(disk.Path());
    EXPECT_TRUE(traits.ignoresCase);
    EXPECT_EQ(traits.largestFile, (int64_t{1} << 32) - 1);
    for (const char character : std::string("\"*:<>?|\x01\x1f"))
        EXPECT_TRUE(IsRefused(traits, character)) << character;
    EXPECT_TRUE(FilesBelow(disk.Path()).empty());
}

TEST_F(Probe, AnExfatDiskHasLargeFiles)
{
    const MountedDisk disk(DiskKind::kExfat);
    VX_NEEDS_DISK(disk);
    const DestinationTraits traits = TraitsOf(disk.Path());
    EXPECT_TRUE(traits.ignoresCase);
    EXPECT_GT(traits.largestFile, int64_t{1} << 32);
    EXPECT_TRUE(IsRefused(traits, ':'));
    EXPECT_GE(traits.timeStep, kSecond / 100);
    EXPECT_LE(traits.timeStep, 2 * kSecond);
    EXPECT_TRUE(FilesBelow(disk.Path()).empty());
}

}  // namespace
}  // namespace vx
