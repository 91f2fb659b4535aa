#include "UniqueFd.h"
#include "VolumeReader.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vx {
namespace {

using Names = std::vector<std::u16string>;

VolumeFindData Garbage()
{
    VolumeFindData record;
    std::memset(static_cast<void *>(&record), 0xA5, sizeof record);
    return record;
}

void SetTimes(const std::string &path, time_t accessed, time_t modified)
{
    timespec times[2] = {};
    times[0].tv_sec = accessed;
    times[1].tv_sec = modified;
    times[1].tv_nsec = 123456700;
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

Names NamesInDiskOrder(const std::string &path)
{
    Names names;
    DIR *folder = opendir(path.c_str());
    while (const dirent *entry = readdir(folder)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name.begin(), name.end());
    }
    closedir(folder);
    return names;
}

using FolderListingTest = FolderVolumeTest;

TEST_F(FolderListingTest, EveryEntryIsReportedOnce)
{
    std::set<std::u16string> expected;
    for (int i = 0; i < 2000; ++i) {
        const std::string name = "file-" + std::to_string(i);
        folder.WriteFile("many/" + name, "");
        expected.emplace(name.begin(), name.end());
    }
    const Names names = SortedNames(volume, u"/many/*");
    EXPECT_EQ(names.size(), 2000u);
    EXPECT_EQ(std::set<std::u16string>(names.begin(), names.end()), expected);
}

TEST_F(FolderListingTest, TheFolderItselfAndItsParentAreNotReported)
{
    folder.WriteFile("sub/.hidden", "");
    folder.WriteFile("sub/..double", "");
    EXPECT_EQ(SortedNames(volume, u"/sub/*"), (Names{u"..double", u".hidden"}));
}

TEST_F(FolderListingTest, EntriesKeepTheOrderOfTheFolder)
{
    for (const char *name : {"m", "z", "a", "k", "b", "y"})
        folder.WriteFile(name, "");
    const auto entries = ListFolder(volume, u"/*");
    ASSERT_TRUE(entries);
    Names names;
    for (const VolumeFindData &entry : *entries)
        names.emplace_back(entry.name);
    EXPECT_EQ(names, NamesInDiskOrder(folder.Path()));
}

TEST_F(FolderListingTest, AnEmptyFolderGivesAHandleAndLeavesTheRecordAsItWas)
{
    VolumeFindData record = Garbage();
    const VolumeFindData before = record;
    const VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    EXPECT_NE(search, nullptr);
    EXPECT_FALSE(volume.FindNextFile(search, &record));
    const auto *bytes = reinterpret_cast<const unsigned char *>(&record);
    EXPECT_TRUE(
        std::equal(bytes, bytes + sizeof record, reinterpret_cast<const unsigned char *>(&before)));
    EXPECT_TRUE(volume.FindClose(search));
}

TEST_F(FolderListingTest, AFolderThatIsNotThereCannotBeListed)
{
    VolumeFindData record = {};
    EXPECT_EQ(volume.FindFirstFile(u"/missing/*", &record), nullptr);
}

TEST_F(FolderListingTest, AFileCannotBeListed)
{
    folder.WriteFile("file", "");
    VolumeFindData record = {};
    EXPECT_EQ(volume.FindFirstFile(u"/file/*", &record), nullptr);
}

TEST_F(FolderListingTest, APatternThatIsNotAFolderAndAStarCannotBeListed)
{
    folder.WriteFile("sub/file", "");
    VolumeFindData record = {};
    for (const char16_t *pattern :
         {u"/sub", u"/sub/", u"/sub/f*", u"sub/*", u"/sub//*", u"/sub/../*", u"/./*", u""})
        EXPECT_EQ(volume.FindFirstFile(pattern, &record), nullptr);
}

TEST_F(FolderListingTest, NullPointersAreRefused)
{
    VolumeFindData record = {};
    EXPECT_EQ(volume.FindFirstFile(nullptr, &record), nullptr);
    EXPECT_EQ(volume.FindFirstFile(u"/*", nullptr), nullptr);
    EXPECT_FALSE(volume.FindNextFile(nullptr, &record));
    EXPECT_FALSE(volume.FindClose(nullptr));
    const VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    EXPECT_FALSE(volume.FindNextFile(search, nullptr));
    volume.FindClose(search);
}

TEST_F(FolderListingTest, AFolderInAFolderIsListed)
{
    folder.WriteFile("Reports/2019/summary.txt", "");
    EXPECT_EQ(SortedNames(volume, u"/*"), Names{u"Reports"});
    EXPECT_EQ(SortedNames(volume, u"/Reports/*"), Names{u"2019"});
    EXPECT_EQ(SortedNames(volume, u"/Reports/2019/*"), Names{u"summary.txt"});
}

TEST_F(FolderListingTest, EveryRecordEndsItsNameWithAFreshZero)
{
    folder.WriteFile("a-name-that-is-rather-long", "");
    folder.WriteFile("b", "");
    std::multiset<std::u16string> names;
    VolumeFindData record = Garbage();
    const VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    names.insert(record.name);
    record = Garbage();
    EXPECT_TRUE(volume.FindNextFile(search, &record));
    names.insert(record.name);
    volume.FindClose(search);
    EXPECT_EQ(names, (std::multiset<std::u16string>{u"a-name-that-is-rather-long", u"b"}));
}

TEST_F(FolderListingTest, TheLongestNameOfTheDiskIsReportedWhole)
{
    folder.WriteFile(std::string(255, 'n'), "");
    EXPECT_EQ(SortedNames(volume, u"/*"), Names{std::u16string(255, u'n')});
}

TEST_F(FolderListingTest, TwoListingsOfOneFolderDoNotDisturbEachOther)
{
    folder.WriteFile("a", "");
    folder.WriteFile("b", "");
    VolumeFindData record = {};
    const VolumeHandle first = volume.FindFirstFile(u"/*", &record);
    EXPECT_EQ(SortedNames(volume, u"/*"), (Names{u"a", u"b"}));
    EXPECT_TRUE(volume.FindNextFile(first, &record));
    EXPECT_FALSE(volume.FindNextFile(first, &record));
    volume.FindClose(first);
}

TEST_F(FolderListingTest, AFolderIsMarkedAsOneAndHasSizeZero)
{
    folder.MakeFolder("sub");
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"sub");
    EXPECT_EQ(entry.attributes, 0x10u);
    EXPECT_EQ(SizeOf(entry), 0u);
}

TEST_F(FolderListingTest, AFileHasItsSizeInBytes)
{
    folder.WriteFile("file", "12345");
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"file");
    EXPECT_EQ(entry.attributes, 0x80u);
    EXPECT_EQ(SizeOf(entry), 5u);
}

TEST_F(FolderListingTest, AFileOf5GiBHasItsSizeInBothHalves)
{
    folder.MakeSparseFile("huge", 5LL << 30);
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"huge");
    EXPECT_EQ(entry.sizeHigh, 1u);
    EXPECT_EQ(entry.sizeLow, 1u << 30);
}

TEST_F(FolderListingTest, TheWriteAndAccessTimesAreThoseOfTheFile)
{
    SetTimes(folder.WriteFile("file", ""), 1000000000, 1500000000);
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"file");
    EXPECT_EQ(entry.lastAccessTime, 126444736000000000u);
    EXPECT_EQ(entry.lastWriteTime, 131444736001234567u);
}

TEST_F(FolderListingTest, TheCreationTimeIsNotTheTimeOfWriting)
{
    const auto now = [] { return 116444736000000000u + uint64_t(time(nullptr)) * 10000000u; };
    const uint64_t before = now();
    SetTimes(folder.WriteFile("file", ""), 1000000000, 1500000000);
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"file");
    EXPECT_GE(entry.creationTime + 10000000u, before);
    EXPECT_LE(entry.creationTime, now() + 10000000u);
}

TEST_F(FolderListingTest, AFifoIsNotReportedAndDoesNotOpen)
{
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0644), 0);
    EXPECT_EQ(SortedNames(volume, u"/*"), Names());
    EXPECT_FALSE(Opens(volume, u"/fifo"));
}

TEST_F(FolderListingTest, ASocketIsNotReportedAndDoesNotOpen)
{
    const UniqueFd listener(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder.At("socket");
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    ASSERT_EQ(bind(listener.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(SortedNames(volume, u"/*"), Names());
    EXPECT_FALSE(Opens(volume, u"/socket"));
}

TEST(DeviceFolder, DevicesAreNotReportedAndDoNotOpen)
{
    const auto devices = OpenFolderVolume("/dev");
    const Names names = SortedNames(*devices, u"/*");
    EXPECT_EQ(std::count(names.begin(), names.end(), u"null"), 0);
    EXPECT_FALSE(Opens(*devices, u"/null"));
}

TEST_F(FolderListingTest, ANameThatIsNotUtf8IsListedAndOpens)
{
    folder.WriteFile("caf\xE9", "latin");
    EXPECT_EQ(SortedNames(volume, u"/*"), Names{u"caf\xEFE9"});
    EXPECT_EQ(ReadWholeFile(volume, u"/caf\xEFE9"), "latin");
}

TEST_F(FolderListingTest, AFolderWhoseNameIsNotUtf8IsListed)
{
    folder.WriteFile("caf\xE9/f\xFF", "deeper");
    EXPECT_EQ(SortedNames(volume, u"/caf\xEFE9/*"), Names{u"f\xEFFF"});
    EXPECT_EQ(ReadWholeFile(volume, u"/caf\xEFE9/f\xEFFF"), "deeper");
}

TEST_F(FolderListingTest, NamesInSeveralScriptsAreListedAndOpen)
{
    folder.WriteFile("Отчёт 報告書 \xF0\x9F\x98\x80", "scripts");
    const std::u16string name = u"Отчёт 報告書 \xD83D\xDE00";
    EXPECT_EQ(SortedNames(volume, u"/*"), Names{name});
    EXPECT_EQ(ReadWholeFile(volume, u"/" + name), "scripts");
}

// Runs in a process of its own, as a user whom the folder's permissions concern.
[[noreturn]] void ExitWithListingAsOrdinaryUser(IVolume &volume)
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0)
        _exit(2);
    const VolumeFindData file = EntryNamed(volume, u"/locked/*", u"file");
    const VolumeFindData sub = EntryNamed(volume, u"/locked/*", u"sub");
    const bool shown = (file.attributes & 0x10) == 0 && (sub.attributes & 0x10) != 0;
    _exit(shown && !Opens(volume, u"/locked/file") ? 0 : 1);
}

TEST_F(FolderListingTest, AFolderThatMayBeReadButNotSearchedStillShowsItsNames)
{
    folder.WriteFile("locked/file", "secret");
    folder.MakeFolder("locked/sub");
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(folder.At("locked").c_str(), 0644), 0);
    EXPECT_EXIT(ExitWithListingAsOrdinaryUser(volume), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vx
