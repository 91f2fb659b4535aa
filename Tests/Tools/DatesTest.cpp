// The dates that files and folders have after an export, and the folders that no file brings.
#include "ToolFixture.h"

#include "FileSystemFacts.h"
#include "FileTimes.h"
#include "KeptAccessTime.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

struct Times {
    timespec accessed;
    timespec modified;
};

bool operator==(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

constexpr Times kOld = {{1234567890, 123456700}, {1000000000, 987654300}};
constexpr Times kOlder = {{-157766400, 500}, {-100000000, 100}};  // before 1970

class Dates : public ToolTest {
protected:
    void SetTimes(const std::string &path, const Times &times)
    {
        const timespec both[] = {times.accessed, times.modified};
        ASSERT_EQ(utimensat(AT_FDCWD, _folder.At(path).c_str(), both, 0), 0) << path;
    }
    Times TimesOf(const std::string &path)
    {
        struct stat found = {};
        EXPECT_EQ(stat(_folder.At(path).c_str(), &found), 0) << path;
        return {AccessTimeOf(found), ModificationOf(found)};
    }
    void ExpectTimes(const std::string &path, const Times &times)
    {
        const Times found = TimesOf(path);
        EXPECT_TRUE(found.accessed == times.accessed) << path << found.accessed.tv_nsec;
        EXPECT_TRUE(found.modified == times.modified) << path << found.modified.tv_nsec;
    }
    bool IsThere(const std::string &path)
    {
        return access(_folder.At("destination/" + path).c_str(), F_OK) == 0;
    }
    Result Export(const Arguments &more = {})
    {
        Arguments arguments = {"--to", _destination, _volume};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }
    Result ExportOnDiskThat(const std::string &fault)
    {
        // The leak checker of a sanitizer build looks for itself in other places.
        ToolRun run("/usr/bin/env", {"LD_PRELOAD=" VX_FULL_DISK, fault + "=1",
                                     "ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0", kTool,
                                     "--to", _destination, _volume});
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }
};

TEST_F(Dates, FilesAndFoldersHaveTheDatesOfTheVolumeToItsLastDigit)
{
    _folder.WriteFile("volume/a/b/file", std::string(5 << 20, 'x'));
    _folder.WriteFile("volume/early", "");
    _folder.MakeFolder("volume/a/empty");
    SetTimes("volume/a/b/file", kOld);
    SetTimes("volume/early", kOlder);
    for (const char *folder : {"volume/a/b", "volume/a/empty", "volume/a"})
        SetTimes(folder, kOld);
    EXPECT_EQ(Export().status, 0);
    for (const char *path : {"a/b/file", "a/b", "a/empty", "a"})
        ExpectTimes(std::string("destination/") + path, kOld);
    ExpectTimes("destination/early", kOlder);
}

TEST_F(Dates, AFileThatIsReplacedHasTheNewDates)
{
    _folder.WriteFile("volume/file", "new");
    _folder.WriteFile("destination/file", "old");
    SetTimes("volume/file", kOld);
    EXPECT_EQ(Export().status, 0);
    ExpectTimes("destination/file", kOld);
}

TEST_F(Dates, WithoutTimesEverythingIsAsNewAsItIs)
{
    _folder.WriteFile("volume/a/file", "1");
    SetTimes("volume/a/file", kOld);
    SetTimes("volume/a", kOld);
    const time_t before = time(nullptr);
    EXPECT_EQ(Export({"--no-times"}).status, 0);
    EXPECT_GE(TimesOf("destination/a/file").modified.tv_sec, before - 1);
    EXPECT_GE(TimesOf("destination/a").modified.tv_sec, before - 1);
}

TEST_F(Dates, AFolderOnTheWayKeepsItsDatesIfItWasThere)
{
    _folder.WriteFile("volume/there/new/file", "1");
    for (const char *path : {"volume/there/new/file", "volume/there/new", "volume/there"})
        SetTimes(path, kOld);
    _folder.MakeFolder("destination/there");
    EXPECT_EQ(Export({"/there/new/file"}).status, 0);
    ExpectTimes("destination/there/new/file", kOld);
    ExpectTimes("destination/there/new", kOld);
    EXPECT_FALSE(TimesOf("destination/there").modified == kOld.modified);
}

TEST_F(Dates, ATimeThatTheVolumeDoesNotHaveIsLeftAlone)
{
    EXPECT_EQ(RunWith(kStandIn, {"--to", _destination, "large", "one.bin"}).status, 0);
    const Times times = TimesOf("destination/one.bin");
    EXPECT_EQ(times.modified.tv_sec, 1601485200);  // the stand-in's
    EXPECT_GT(times.accessed.tv_sec, 1601485200);
}

TEST_F(Dates, ADestinationThatTakesNoDatesIsReportedOnce)
{
    if (*VX_FULL_DISK == '\0')
        GTEST_SKIP() << "no call of the system can be replaced here";
    _folder.WriteFile("volume/a/file", "1");
    _folder.WriteFile("volume/b", "1");
    const Result result = ExportOnDiskThat("VX_NO_DATES");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Dates not set: 3 files and folders; the first is /"));
    EXPECT_TRUE(Holds(result.output, ": Operation not permitted\n"));
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Dates, ADiskThatCannotHoldWhatWasWrittenIsReported)
{
    if (*VX_FULL_DISK == '\0')
        GTEST_SKIP() << "no call of the system can be replaced here";
    _folder.WriteFile("volume/a", "1");
    const Result result = ExportOnDiskThat("VX_SYNC_FAILS");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Not everything could be written to the disk of " +
                                         _destination +
                                         ": Input/output error; do not rely on "
                                         "the copies\n"));
}

TEST_F(Dates, EmptyFoldersAreMade)
{
    _folder.MakeFolder("volume/a/b/empty");
    _folder.MakeFolder("volume/links");
    _folder.MakeLink("volume/links/nowhere", "nothing");
    EXPECT_EQ(Export().status, 0);
    EXPECT_TRUE(IsThere("a/b/empty"));
    EXPECT_TRUE(IsThere("links"));
}

TEST_F(Dates, AnEmptyFolderThatIsNamedIsMade)
{
    _folder.MakeFolder("volume/a/empty");
    _folder.MakeFolder("volume/a/other");
    EXPECT_EQ(Export({"/a/empty"}).status, 0);
    EXPECT_TRUE(IsThere("a/empty"));
    EXPECT_FALSE(IsThere("a/other"));
}

TEST_F(Dates, NoEmptyFoldersLeavesThemOut)
{
    _folder.MakeFolder("volume/empty");
    _folder.WriteFile("volume/a/file", "1");
    EXPECT_EQ(Export({"--no-empty-folders"}).status, 0);
    EXPECT_FALSE(IsThere("empty"));
    EXPECT_TRUE(IsThere("a/file"));
}

TEST_F(Dates, AFolderThatCannotBeListedIsNotMadeEmpty)
{
    EXPECT_EQ(RunWith(kStandIn, {"--to", _destination, "failing"}).status, 1);
    EXPECT_FALSE(IsThere("closed"));
    EXPECT_FALSE(IsThere("link-to-folder"));
}

TEST_F(Dates, AnEmptyFolderThatCannotBeMadeIsAFailure)
{
    _folder.MakeFolder("volume/a/b/c");
    _folder.WriteFile("destination/a", "in the way");
    const Result result = Export();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 1\n  /a: a file of this machine stands where its "
                                     "folder should be\n"));
}

TEST(FileTimes, ATimeIsThatOfTheSystemToTheLastDigit)
{
    const timespec time = TimeOf(132459588001234567);
    EXPECT_EQ(time.tv_sec, 1601485200);
    EXPECT_EQ(time.tv_nsec, 123456700);
    EXPECT_EQ(TimeOf(116444736000000000).tv_sec, 0);
    EXPECT_EQ(TimeOf(1).tv_sec, -11644473600);
    EXPECT_EQ(TimeOf(UINT64_MAX).tv_nsec, 955161500);
}

TEST(FileTimes, NoTimeLeavesWhatThereIs)
{
    EXPECT_EQ(TimeOf(0).tv_nsec, UTIME_OMIT);
}

}  // namespace
}  // namespace vx
