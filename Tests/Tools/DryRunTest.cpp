// What --dry-run says, compared with what an export then does; and that it writes nothing.
#include "FileSystemFacts.h"
#include "MountedDisk.h"
#include "ToolFixture.h"

#include <regex>
#include <sys/stat.h>

namespace vx {
namespace {

class DryRunning : public ToolTest {
protected:
    DryRunning()
    {
        _folder.WriteFile("volume/a/one", "12345");
        _folder.WriteFile("volume/a/b/two", std::string(5000, 'x'));
        _folder.WriteFile("volume/three", "");
    }

    Result Try(Arguments more = {})
    {
        more.insert(more.begin(), {"--dry-run", "--to", _destination, _volume});
        return Run(more);
    }

    // With less free space than there is.
    Result TryWithRoom(const std::string &bytes, const Arguments &more = {})
    {
        // The leak checker of a sanitizer build looks for itself in other places.
        Arguments arguments = {std::string("LD_PRELOAD=") + VX_FULL_DISK,
                               "VX_FREE_BYTES=" + bytes,
                               "ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0",
                               kTool,
                               "--dry-run",
                               "--to",
                               _destination,
                               _volume};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolRun run("/usr/bin/env", arguments);
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }

    // "3 files, 4.9 KiB (5,005 bytes)", after either "Would export" or "Exported".
    static std::string Exported(const std::string &output)
    {
        const std::regex form(
            "[Ee]xport(?:ed)? ([0-9,]+ files?)(?: in [0-9]+ folders?)?(, .*), to ");
        std::smatch found;
        return std::regex_search(output, found, form) ? found[1].str() + found[2].str() : "nothing";
    }

    struct stat StatOf(const std::string &path) const
    {
        struct stat found = {};
        EXPECT_EQ(stat(path.c_str(), &found), 0);
        return found;
    }
};

TEST_F(DryRunning, TellsTheNumbersThatTheExportHas)
{
    const Result tried = Try();
    EXPECT_EQ(tried.status, 0) << tried.errors;
    EXPECT_TRUE(
        Holds(tried.output, "Would export 3 files in 2 folders, 4.9 KiB (5,005 bytes), to " +
                                _destination + "\nWould replace 0 files\nNeeds 12.0 KiB "));
    EXPECT_EQ(Exported(tried.output), Exported(Run({"--to", _destination, _volume}).output));
}

TEST_F(DryRunning, CountsWhatIsNamedAndChosen)
{
    EXPECT_TRUE(Holds(Try({"a/b"}).output, "Would export 1 file in 2 folders, 4.9 KiB"));
    EXPECT_TRUE(
        Holds(Try({"--max-size", "1K"}).output, "Would export 2 files in 1 folder, 5 bytes"));
    EXPECT_EQ(Try({"no/such"}).status, 1);
}

TEST_F(DryRunning, ChangesNothingInTheDestination)
{
    _folder.WriteFile("destination/three", "old");
    const auto before = StatOf(_destination);
    Try();
    const auto after = StatOf(_destination);
    EXPECT_EQ(FilesBelow(_destination), (Files{{"three", "old"}}));
    EXPECT_EQ(ModificationOf(before).tv_sec, ModificationOf(after).tv_sec);
    EXPECT_EQ(ModificationOf(before).tv_nsec, ModificationOf(after).tv_nsec);
}

TEST_F(DryRunning, DoesNotMakeTheDestination)
{
    _destination += "/new";
    // Not what the new folder's parent holds is replaced.
    _folder.WriteFile("destination/three", "");
    const Result result = Try();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Would export 3 files"));
    EXPECT_TRUE(Holds(result.output, "Would replace 0 files\n"));
    EXPECT_NE(access(_destination.c_str(), F_OK), 0);
}

TEST_F(DryRunning, CountsTheFilesThatWouldBeReplaced)
{
    _folder.WriteFile("destination/three", "old");
    _folder.WriteFile("destination/a/b/two", "old");
    _folder.WriteFile("destination/other", "old");
    EXPECT_TRUE(Holds(Try().output, "Would replace 2 files\n"));
}

TEST_F(DryRunning, CountsTheEmptyFoldersThatTheExportMakes)
{
    _folder.MakeFolder("volume/empty/deep");
    EXPECT_TRUE(Holds(Try().output, "Would export 3 files in 4 folders,"));
    EXPECT_TRUE(Holds(Try({"--no-empty-folders"}).output, "Would export 3 files in 2 folders,"));
    EXPECT_TRUE(Holds(Try({"--exclude", "two"}).output, "Would export 2 files in 3 folders,"));
    const int made = Run({"--to", _destination, _volume, "--exclude", "two"}).status;
    EXPECT_EQ(made, 0);
    EXPECT_EQ(access((_destination + "/empty/deep").c_str(), F_OK), 0);
    EXPECT_NE(access((_destination + "/a/b").c_str(), F_OK), 0);
}

TEST_F(DryRunning, AnEmptyFolderWhosePlaceIsTakenIsNamedOnce)
{
    _folder.MakeFolder("volume/empty/deep");
    _folder.WriteFile("destination/empty", "");
    const std::string tried = Try().output;
    const std::string done = Run({"--to", _destination, _volume}).output;
    const std::string failure =
        "  /empty: a file of this machine stands where its folder should be\n";
    EXPECT_TRUE(Holds(tried, "Would fail: 1\n" + failure));
    EXPECT_TRUE(Holds(done, "Failed: 1\n" + failure));
}

TEST_F(DryRunning, AResumptionLeavesOutWhatIsComplete)
{
    EXPECT_EQ(Run({"--to", _destination, _volume, "a"}).status, 0);
    _folder.WriteFile("destination/a/one", "not complete");
    const Result result = Try({"--resume"});
    EXPECT_TRUE(Holds(result.output, "Would export 2 files in 2 folders, 5 bytes, to "));
    EXPECT_TRUE(Holds(result.output,
                      "Would replace 1 file\n"
                      "Would leave out 1 file that is there already\nNeeds 4.0 KiB "));
    EXPECT_EQ(result.output.find("4.9 KiB"), std::string::npos);
    EXPECT_TRUE(Holds(Try().output, "Would replace 2 files\nNeeds"));
}

// Its copies stay as they are, and need no room to be replaced.
TEST_F(DryRunning, AResumptionNeedsRoomForWhatIsMissingOnly)
{
    if (*VX_FULL_DISK == '\0')
        GTEST_SKIP() << "no call of the system can be replaced here";
    EXPECT_EQ(Run({"--to", _destination, _volume, "a"}).status, 0);
    EXPECT_EQ(TryWithRoom("0").status, 2);
    EXPECT_EQ(TryWithRoom("0", {"--resume"}).status, 0);
}

TEST_F(DryRunning, WhatCannotArriveIsNamed)
{
    _folder.MakeFolder("destination/three");
    ASSERT_EQ(mkfifo((_destination + "/a").c_str(), 0600), 0);
    const Result result = Try();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Would export 0 files in 0 folders, 0 bytes"));
    EXPECT_TRUE(Holds(result.output, "Would fail: 3\n"));
    EXPECT_TRUE(Holds(result.output, "  /three: a folder of this machine stands in its place\n"));
}

TEST_F(DryRunning, WhatTheVolumeKeepsBackIsToldAsTheExportTellsIt)
{
    // Two files say only when they are opened or copied what is wrong with them.
    const Arguments arguments = {"--to",      _destination,  "--verbose", "obstacles",
                                 "--exclude", "/closed.txt", "--exclude", "/contradictory.txt"};
    Arguments dry = arguments;
    dry.push_back("--dry-run");
    const std::string tried = RunWith(kStandIn, dry).output;
    const std::string done = RunWith(kStandIn, arguments).output;
    EXPECT_EQ(Exported(tried), Exported(done));
    const size_t links = done.find("Links not followed");
    const size_t failures = done.find("Failed: ");
    ASSERT_LT(links, failures);
    EXPECT_TRUE(Holds(tried, done.substr(links, failures - links)));
    EXPECT_EQ(tried.substr(tried.find("Would fail: ") + 12), done.substr(failures + 8));
}

TEST_F(DryRunning, ACopyThatWouldBeDamagedIsAFailure)
{
    const Result result =
        RunWith(kStandIn, {"--dry-run", "--to", _destination, "obstacles", "/contradictory.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Would export 0 files"));
    EXPECT_TRUE(Holds(result.output,
                      "  /contradictory.txt: its records on the disk contradict each "
                      "other; the copy would be damaged\n"));
}

TEST_F(DryRunning, WithoutRoomTheStatusIs2)
{
    if (*VX_FULL_DISK == '\0')
        GTEST_SKIP() << "no call of the system can be replaced here";
    const Result result = TryWithRoom("8192");
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.output, "Needs 12.0 KiB (12,288 bytes) of the disk, of which 8.0 KiB "
                                     "(8,192 bytes) are free\n"));
    EXPECT_EQ(result.errors, "volume-export: not enough room on the disk of " + _destination +
                                 ": the export needs 12.0 KiB (12,288 bytes), and 8.0 KiB (8,192 "
                                 "bytes) are free\n");
    EXPECT_EQ(TryWithRoom("12288").status, 0);
    EXPECT_EQ(TryWithRoom("8192", {"--no-space-check"}).status, 0);
}

TEST_F(DryRunning, RoomForANewDestinationIsThatOfItsParent)
{
    if (*VX_FULL_DISK == '\0')
        GTEST_SKIP() << "no call of the system can be replaced here";
    _destination += "/new";
    EXPECT_EQ(TryWithRoom("8192").status, 2);
    EXPECT_EQ(TryWithRoom("12288").status, 0);
}

TEST_F(DryRunning, NamesTheFilesThatWouldArriveUnderAnotherName)
{
    const Result result = RunWith(kStandIn, {"--dry-run", "--to", _destination, "long-names"});
    EXPECT_TRUE(Holds(result.output, "Would arrive under another name: "));
}

TEST_F(DryRunning, OnAFatDiskAFileOfFourGibibytesIsNamed)
{
    const MountedDisk disk(DiskKind::kFat);
    VX_NEEDS_DISK(disk);
    _folder.MakeSparseFile("volume/large.bin", 1ll << 32);
    for (const std::string &path : {disk.Path(), disk.Path() + "/new"}) {
        _destination = path;
        const Result result = Try({"large.bin", "three"});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(Holds(result.output, "Would export 1 file "));
        EXPECT_TRUE(Holds(result.output, "  /large.bin: too large: the destination's disk takes "));
    }
}

TEST_F(DryRunning, NamesThatADiskMergesAreToldByTheNamesOnIt)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    _folder.WriteFile("volume/a/ONE", "");
    _destination = disk.Path();
    EXPECT_EQ(mkdir((_destination + "/some").c_str(), 0777), 0);
    EXPECT_TRUE(Holds(Try({"a"}).output, "Would arrive under another name: 1 file\n"));
}

}  // namespace
}  // namespace vx
