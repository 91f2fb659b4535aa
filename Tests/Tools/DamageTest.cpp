// Disks with bad places, disks that go away, and entries that the volume cannot give.
#include "ToolFixture.h"

namespace vx {
namespace {

constexpr size_t kMiB = 1 << 20;

class Damage : public ToolTest {
protected:
    Result Export(const std::string &volume, const Arguments &more = {})
    {
        Arguments arguments = {"--to", _destination, volume};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunWith(kStandIn, arguments);
    }
    // What the stand-in's files hold.
    static std::string Content(size_t size)
    {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i * 7);
        return bytes;
    }
    static std::string DamagedContent()
    {
        std::string bytes = Content(6 * kMiB);
        bytes.replace(kMiB, 4096, std::string(4096, '\0'));
        bytes.replace(5 * kMiB, 512, std::string(512, '\0'));
        return bytes;
    }
};

TEST_F(Damage, AFileWithBadPlacesArrivesWithZerosThereAndIsNamedWithItsRanges)
{
    const Result result = Export("unread");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 1\n  /damaged.bin: bytes 1048576 to 1052671, 5242880 "
                                     "to 5243391 could not be read and are zero\n"));
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 3u);
    EXPECT_TRUE(files.at("damaged.bin") == DamagedContent());
    EXPECT_EQ(files.at("behind.bin"), Content(7));
}

TEST_F(Damage, ADamagedCopyReplacesNothingAndIsPutBesideWhatStoodThere)
{
    _folder.WriteFile("destination/damaged.bin", "good, from an earlier day");
    _folder.WriteFile("destination/damaged (damaged).bin", "from another day");
    const Result result = Export("unread");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output,
              "could not be read and are zero; the file in its place was kept, and the copy "
              "is beside it: damaged (damaged 2).bin\n"));
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 5u);
    EXPECT_EQ(files.at("damaged.bin"), "good, from an earlier day");
    EXPECT_EQ(files.at("damaged (damaged).bin"), "from another day");
    EXPECT_TRUE(files.at("damaged (damaged 2).bin") == DamagedContent());
}

TEST_F(Damage, ADamagedCopyOfAnEarlierExportIsReplacedAndNotKeptBesideTheSame)
{
    _folder.WriteFile("destination/damaged.bin", "good, from an earlier day");
    Export("unread");
    const Result result = Export("unread");
    EXPECT_TRUE(Holds(result.output, "the copy is beside it: damaged (damaged).bin\n"));
    EXPECT_EQ(FilesBelow(_destination).size(), 4u);
}

TEST_F(Damage, AnExportThatGoesOnByDatesCopiesADamagedFileAgain)
{
    Export("unread");
    const Result result = Export("unread", {"--resume"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /damaged.bin: bytes 1048576 to 1052671, "));
    EXPECT_TRUE(Lacks(result.output, "beside it"));
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 3u);
    EXPECT_TRUE(files.at("damaged.bin") == DamagedContent());
}

TEST_F(Damage, OfManyRangesTheFirstAreNamedAndVerboseNamesAll)
{
    EXPECT_TRUE(Holds(Export("riddled").output,
                      "  /riddled.bin: bytes 0 to 511, 8192 to 8703, 16384 to 16895, 24576 to "
                      "25087 and 16 more ranges (10,240 bytes in all) could not be read and are "
                      "zero\n"));
    const Result all = Export("riddled", {"--verbose"});
    EXPECT_TRUE(Holds(all.output, ", 155648 to 156159 could not be read and are zero"));
    EXPECT_TRUE(Lacks(all.output, "more range"));
}

TEST_F(Damage, ADamagedCopyThatIsComparedStaysAFailureAndIsNotCalledDifferent)
{
    const Result result = Export("unread", {"--verify"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "to 5243391 could not be read and are zero\n"));
    EXPECT_TRUE(Lacks(result.output, "differs"));
    EXPECT_TRUE(Lacks(result.output, "cannot read it again"));
}

TEST_F(Damage, AnOlderLibraryStillTellsThatAFileIsDamaged)
{
    const Result result = RunWith(kOlderStandIn, {"--to", _destination, "unread"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output,
              "  /damaged.bin: the volume could not read all of it; the copy is damaged\n"));
    EXPECT_EQ(FilesBelow(_destination).size(), 3u);
}

TEST_F(Damage, ADiskThatIsGoneStopsTheExportAndLeavesNoFileOfZeros)
{
    _folder.WriteFile("destination/three.bin", "old");
    const Result result = Export("gone");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Exported 1 file, 10 bytes"));
    EXPECT_TRUE(Holds(result.output,
                      "Stopped, since the disk is gone; what had arrived was kept.\n"
                      "Arrived: 1 file:\n"
                      "  /one.bin\n"
                      "Not kept, since it is incomplete: /two.bin: 8,388,608 of 12,582,912 bytes "
                      "had been copied\n"
                      "Not copied: 2 files (--verbose names them)\n"));
    EXPECT_EQ(FilesBelow(_destination), (Files{{"one.bin", Content(10)}, {"three.bin", "old"}}));
}

TEST_F(Damage, OfADiskThatGoesAwayInTheOnlyReadOfAFileNothingIsDelivered)
{
    for (const char *old : {"", "old"}) {
        if (*old != '\0')
            _folder.WriteFile("destination/two.bin", old);
        const Result result = Export("gone-in-small-file");
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(Holds(result.output,
                          "Stopped, since the disk is gone; what had arrived was kept.\n"
                          "Arrived: 1 file:\n"
                          "  /one.bin\n"
                          "Not kept, since it is incomplete: /two.bin: the rest of it could not be "
                          "read\n"
                          "Not copied: 1 file (--verbose names it)\n"));
        Files expected = {{"one.bin", Content(10)}};
        if (*old != '\0')
            expected["two.bin"] = old;
        EXPECT_EQ(FilesBelow(_destination), expected);
    }
}

TEST_F(Damage, AReadThatGivesTooLittleWithSuccessIsAFailure)
{
    const Result result = Export("lacking");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output,
              "  /lacking.bin: the volume could not read all of it; the copy is damaged\n"));
}

TEST_F(Damage, AFileOfAnImpossibleSizeReplacesNothing)
{
    _folder.WriteFile("destination/impossible.bin", "old");
    const Result result = Export("impossible-size");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /impossible.bin: the volume gives no valid size for it\n"));
    EXPECT_EQ(FilesBelow(_destination),
              (Files{{"impossible.bin", "old"}, {"good.txt", Content(5)}}));
}

TEST_F(Damage, VerboseNamesTheFilesThatAStoppedExportDidNotComeTo)
{
    EXPECT_TRUE(Holds(Export("gone", {"--verbose"}).output,
                      "Not copied: 2 files:\n  /three.bin\n  /four.bin\n"));
}

TEST_F(Damage, WhatCannotBeHadIsCountedInALineForEachReason)
{
    const Result result = Export("obstacles");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(
        result.output,
        "Failed: 7\n"
        "  2 files are packed by Windows in an unknown form or into a WIM image (--verbose names "
        "them)\n"
        "  1 file is only in the cloud (--verbose names it)\n"
        "  1 folder is only in the cloud (--verbose names it)\n"
        "  1 file is encrypted by Windows on its own (EFS) and cannot be read "
        "(--verbose names it)\n"
        "  /closed.txt: the volume cannot open it\n"
        "  /contradictory.txt: its records on the disk contradict each other; "
        "the copy is damaged\n"));
    EXPECT_TRUE(Holds(result.output, "Links not followed: 1 ("));
    EXPECT_EQ(FilesBelow(_destination),
              (Files{{"here.txt", Content(5)}, {"contradictory.txt", Content(5)}}));
}

TEST_F(Damage, VerboseNamesWhatIsCounted)
{
    const Result result = Export("obstacles", {"--verbose"});
    EXPECT_TRUE(Holds(result.output,
                      "  2 files are packed by Windows in an unknown form or into a WIM image:\n"
                      "    /packed1.exe\n    /packed2.exe\n"));
}

TEST_F(Damage, FilesThatAreAllPackedAreNoSuccess)
{
    const Result result = Export("obstacles", {"/packed1.exe", "/packed2.exe"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Lacks(result.output, "Links"));
}

TEST_F(Damage, TheAttributeOfAReparsePointAloneIsNoLink)
{
    const Result result = Export("untagged");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 1\n  /untagged: the volume cannot open it\n"));
}

TEST_F(Damage, AnOlderLibrarysReparsePointsAreLinks)
{
    const Result result = RunWith(kOlderStandIn, {"--to", _destination, "untagged"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Links not followed: 1 ("));
}

TEST_F(Damage, AFolderThatIsNotWholeIsAFailureWithWhatIsMissing)
{
    const Result result = Export("damaged-folders");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output,
                      "Failed: 2\n"
                      "  2 folders are damaged: what could be read of them was exported\n"
                      "  /partial: this folder is incomplete: at least 3 entries are missing\n"
                      "  /recovered: this folder is damaged: 1 entry was found by other records of "
                      "the disk\n"));
    EXPECT_EQ(FilesBelow(_destination).size(), 3u);
}

TEST_F(Damage, OfAFolderThatLostNothingCertainEntriesMayBeMissing)
{
    const Result result = RunWith(VX_REPORTING, {"--to", _destination, "holes"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /some: this folder is damaged: entries may be missing\n"));
}

TEST_F(Damage, AFolderThatWasNotAskedForIsNotMissed)
{
    EXPECT_EQ(Export("damaged-folders", {"/whole"}).status, 0);
}

TEST_F(Damage, AFolderThatCanBeListedOnlyTheSecondTimeIsAFailure)
{
    const Result result = Export("late-listing");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /late: this folder cannot be listed\n"));
}

}  // namespace
}  // namespace vx
