// Destinations whose disk has no room, or runs out of it.
#include "ToolFixture.h"

#include <cstdlib>

namespace vx {
namespace {

constexpr size_t kMiB = 1 << 20;

class FullDisk : public ToolTest {
protected:
    // told: bytes that seem to be free, room: bytes that can be written, largest: how large a file
    // may be; empty for as they are.
    Result ExportWith(const std::string &told, const std::string &room, Arguments more,
                      const std::string &largest = "")
    {
        std::vector<std::string> arguments = {"LD_PRELOAD=" VX_FULL_DISK};
        if (!_fault.empty())
            arguments.push_back(_fault);
        if (!told.empty())
            arguments.push_back("VX_FREE_BYTES=" + told);
        if (!room.empty())
            arguments.push_back("VX_ROOM_BYTES=" + room);
        if (!largest.empty())
            arguments.push_back("VX_LARGEST_FILE=" + largest);
        // The leak checker of a sanitizer build looks for itself in other places.
        arguments.push_back("ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0");
        arguments.push_back(CopyOfTool(kStandIn));
        more.insert(more.begin(), {"--to", _destination});
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolRun run("/usr/bin/env", arguments);
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }
    // With --sync, where what ends in this path cannot be made durable.
    Result ExportWhereNotDurable(const std::string &end)
    {
        _fault = "VX_NOT_DURABLE=" + end;
        return ExportWith("", "", {"changing", "--sync", "--manifest", _list});
    }

    const std::string _list = _folder.At("list");
    std::string _fault;  // "NAME=VALUE"
};

TEST_F(FullDisk, APlanThatHasNoRoomIsRefusedBeforeAnythingIsWritten)
{
    _folder.WriteFile("destination/other.bin", "old");
    const Result result = ExportWith("8388608", "", {"large"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors,
              "volume-export: not enough room on the disk of " + _destination +
                  ": the export needs 15.0 MiB (15,728,640 bytes), and 8.0 MiB (8,388,608 bytes) "
                  "are free; nothing was exported. With --no-space-check, what fits is "
                  "exported\n");
    EXPECT_EQ(FilesBelow(_destination), (Files{{"other.bin", "old"}}));
}

TEST_F(FullDisk, WithoutTheCheckItIsExportedAsFarAsItFits)
{
    const Result result = ExportWith("8388608", "", {"large", "--no-space-check"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(FilesBelow(_destination).size(), 3u);
}

TEST_F(FullDisk, FilesThatAreTooLargeForTheDiskAreNamedFirstAndAreFailuresAndNotBegun)
{
    _folder.WriteFile("destination/changing.bin", "old");
    const Result result = ExportWith("", "", {"changing"}, "1048576");
    EXPECT_EQ(result.status, 1);
    const std::string notice = "Too large for the destination, whose disk takes files of up to "
                               "1.0 MiB, and not exported: 1 file\n  /changing.bin: 3.0 MiB\n";
    EXPECT_TRUE(Holds(result.errors, notice));
    EXPECT_TRUE(Holds(result.output,
                      "Failed: 1\n  /changing.bin: too large: the destination's disk "
                      "takes files of up to 1.0 MiB (1,048,576 bytes)\n"));
    EXPECT_EQ(_folder.ReadFile("destination/changing.bin"), "old");
    EXPECT_EQ(FilesBelow(_destination).size(), 2u);
}

TEST_F(FullDisk, AFileThatIsAsLargeAsTheDiskTakesArrives)
{
    const Result result = ExportWith("", "", {"changing"}, "3145728");
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(Lacks(result.errors, "Too large"));
}

// 3 MiB that do not arrive need no room.
TEST_F(FullDisk, FilesThatAreTooLargeNeedNoRoom)
{
    const Result result = ExportWith("65536", "", {"changing"}, "1048576");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(_folder.ReadFile("destination/steady.bin").size(), 10u);
}

TEST_F(FullDisk, ARefusedExportLeavesNoNewFolderBehind)
{
    _destination += "/new";
    EXPECT_EQ(ExportWith("8388608", "", {"large"}).status, 2);
    EXPECT_NE(access(_destination.c_str(), F_OK), 0);
}

// Each of the three gives its room back when its new copy is complete: 5 MiB at a time.
TEST_F(FullDisk, FilesThatAreReplacedNeedRoomForOneAtATime)
{
    for (const char *name : {"one.bin", "two.bin", "three.bin"})
        _folder.WriteFile(std::string("destination/") + name, std::string(5 * kMiB, 'o'));
    EXPECT_EQ(ExportWith("4194304", "", {"large"}).status, 2);
    EXPECT_EQ(ExportWith("6291456", "", {"large"}).status, 0);
}

TEST_F(FullDisk, WhatTheVolumeKeepsBackNeedsNoRoom)
{
    EXPECT_EQ(ExportWith("16384", "", {"obstacles"}).status, 1);
    EXPECT_EQ(_folder.ReadFile("destination/here.txt").size(), 5u);
}

TEST_F(FullDisk, ADiskThatRunsFullStopsTheExportAndNothingIncompleteStays)
{
    for (const char *name : {"two.bin", "three.bin"})
        _folder.WriteFile(std::string("destination/") + name, "old");
    const Result result = ExportWith("", "7340032", {"large"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Exported 1 file, 5.0 MiB"));
    EXPECT_TRUE(Holds(result.output, "  /two.bin: could not be written after 2,097,152 of "
                                     "5,242,880 bytes: the disk is full\n"));
    EXPECT_TRUE(Holds(result.output, "Stopped, since the disk is full; complete files were kept.\n"
                                     "Not copied: 1 file (--verbose names it)\n"));
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("one.bin").size(), 5 * kMiB);
    EXPECT_EQ(files.at("two.bin"), "old");
    EXPECT_EQ(files.at("three.bin"), "old");
}

TEST_F(FullDisk, ADiskThatTakesNoNameOnlyIfItIsFreeTakesFilesToo)
{
    _folder.WriteFile("destination/two.bin", "old");
    ToolRun run("/usr/bin/env", {"LD_PRELOAD=" VX_FULL_DISK, "VX_NO_FREE_RENAME=1",
                                 "ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0",
                                 CopyOfTool(kStandIn), "--to", _destination, "large"});
    EXPECT_EQ(run.Wait(), 0) << run.Output();
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("two.bin").size(), 5 * kMiB);
}

TEST_F(FullDisk, AFileThatGrowsBeyondTheLimitOfTheProcessEndsWithAReport)
{
    ToolRun::Settings limited;
    limited.fileSizeLimit = 3 * kMiB;
    const Result result = RunWith(kStandIn, {"--to", _destination, "large"}, limited);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 3\n"));
    EXPECT_TRUE(Holds(result.output, "  /three.bin: could not be written after 3,145,728 of "
                                     "5,242,880 bytes: File too large\n"));
    EXPECT_TRUE(FilesBelow(_destination).empty());
}

TEST_F(FullDisk, AFileThatCannotBeMadeDurableDoesNotTakeItsPlace)
{
    _folder.WriteFile("destination/changing.bin", "old");
    const Result result = ExportWhereNotDurable("/.changing.bin.partial");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /changing.bin: could not be written after "));
    EXPECT_TRUE(Holds(result.output, ": Input/output error\n"));
    EXPECT_EQ(FilesBelow(_destination).at("changing.bin"), "old");
    EXPECT_TRUE(Lacks(_folder.ReadFile("list"), "changing.bin"));
}

TEST_F(FullDisk, AFolderThatCannotBeMadeDurableIsReportedAndTheListIsWritten)
{
    const Result result = ExportWhereNotDurable("/destination");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "a folder could not be made durable: Input/output error\n"));
    EXPECT_TRUE(Holds(_folder.ReadFile("list"), "  changing.bin\n"));
}

TEST_F(FullDisk, AJournalThatCannotBeMadeDurableIsReported)
{
    const Result result = ExportWhereNotDurable("/.list.journal");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, ".list.journal: Input/output error\n"));
}

TEST_F(FullDisk, ADamagedCopyThatCannotBeMarkedIsTriedAgain)
{
    _fault = "VX_NO_MARKS=1";
    for (int turn = 0; turn < 2; ++turn) {
        const Result result = ExportWith("", "", {"unread", "--resume"});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(Holds(result.output, "  /damaged.bin: bytes 1048576 to 1052671, "));
    }
}

}  // namespace
}  // namespace vx
