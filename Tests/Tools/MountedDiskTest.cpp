// Exports to disks with file systems of Windows, by drivers that are not part of this system.
#include "MountedDisk.h"
#include "CodePoints.h"
#include "NameFolding.h"
#include "ToolFixture.h"
#include "UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <set>
#include <utility>

namespace vx {
namespace {

class OtherDisk : public ToolTest {
protected:
    // What a folder of a case-sensitive disk may hold, and that of Windows may not.
    void WriteHardNames()
    {
        for (const std::string name :
             {"readme.txt", "README.TXT", "Readme.txt", "readme~1.txt", "a.txt:s", "a.txt_s", "A/x",
              "a/x", "a/X", "q\"*<>?|.txt", "end.", "end", "blank ", "con", "nul.txt"})
            _folder.WriteFile("volume/" + name, "contents of " + name);
    }
    Result ExportTo(const MountedDisk &disk, const Arguments &more = {})
    {
        Arguments arguments = {"--to", disk.Path(), _volume};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }
    // The contents alone, since a driver may show names in another case.
    static std::vector<std::string> ContentsBelow(const std::string &folder)
    {
        std::vector<std::string> all;
        for (const auto &[name, contents] : FilesBelow(folder))
            all.push_back(contents);
        std::sort(all.begin(), all.end());
        return all;
    }
    // Every file arrives, under a name of its own, and again under the same when all is repeated.
    void ExpectAllArriveTwice(const MountedDisk &disk)
    {
        WriteHardNames();
        const Result first = ExportTo(disk, {"--verify"});
        EXPECT_EQ(first.status, 0) << first.output << first.errors;
        const Files files = FilesBelow(disk.Path());
        EXPECT_EQ(ContentsBelow(disk.Path()), ContentsBelow(_volume));
        EXPECT_TRUE(Holds(first.output, "  /a.txt:s: as a~1.txt_s\n"));
        const Result second = ExportTo(disk, {"--verify"});
        EXPECT_EQ(second.status, 0) << second.output << second.errors;
        EXPECT_EQ(FilesBelow(disk.Path()), files);
    }
    // What is there is found again under its new names, by size and time and by hash.
    void ExpectAllAreFoundAgain(const MountedDisk &disk)
    {
        WriteHardNames();
        const std::string list = _folder.At("list.sha256");
        EXPECT_EQ(ExportTo(disk, {"--manifest", list}).status, 0);
        for (const Arguments &more : {Arguments{"--resume"}, {"--resume", "--manifest", list}}) {
            const Result result = ExportTo(disk, more);
            EXPECT_EQ(result.status, 0) << result.output << result.errors;
            EXPECT_TRUE(Holds(result.output, "Exported 0 files")) << result.errors;
        }
        ToolRun check("/bin/sh", {"-c", "cd " + disk.Path() + " && sha256sum --check " + list});
        EXPECT_EQ(check.Wait(), 0) << check.Output();
    }
};

TEST_F(OtherDisk, OnADiskWithTheRulesOfWindowsEveryFileArrivesUnderANameOfItsOwn)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    ExpectAllArriveTwice(disk);
}

TEST_F(OtherDisk, OnAnExfatDiskEveryFileArrivesUnderANameOfItsOwn)
{
    const MountedDisk disk(DiskKind::kExfat);
    VX_NEEDS_DISK(disk);
    ExpectAllArriveTwice(disk);
}

TEST_F(OtherDisk, OnAFatDiskEveryFileArrivesUnderANameOfItsOwn)
{
    const MountedDisk disk(DiskKind::kFat);
    VX_NEEDS_DISK(disk);
    ExpectAllArriveTwice(disk);
}

TEST_F(OtherDisk, OnADiskWithTheRulesOfWindowsAnExportIsResumed)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    ExpectAllAreFoundAgain(disk);
}

TEST_F(OtherDisk, OnAnExfatDiskAnExportIsResumed)
{
    const MountedDisk disk(DiskKind::kExfat);
    VX_NEEDS_DISK(disk);
    ExpectAllAreFoundAgain(disk);
}

TEST_F(OtherDisk, OnAFatDiskAnExportIsResumed)
{
    const MountedDisk disk(DiskKind::kFat);
    VX_NEEDS_DISK(disk);
    ExpectAllAreFoundAgain(disk);
}

// Every letter of the scripts that have case, by what the other driver takes for one name.
TEST_F(OtherDisk, LettersThatADiskTakesForOneAreTakenForOneBeforeTheyMeet)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    DestinationTraits traits;
    traits.ignoresCase = true;
    std::set<std::string> folded;
    int merged = 0;
    for (const auto &[first, last] : {std::pair(0xC0, 0x587), std::pair(0x1E00, 0x1FFF),
                                      std::pair(0x2C00, 0x2CFF), std::pair(0xFF21, 0xFF5A)}) {
        for (int letter = first; letter <= last; ++letter) {
            std::string name;
            AppendUtf8(static_cast<char32_t>(letter), &name);
            const UniqueFd file(
                open((disk.Path() + "/" + name).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
            const bool isMerged = !file && errno == EEXIST;
            const bool isNew = folded.insert(FoldedFor(traits, name)).second;
            EXPECT_FALSE(isMerged && isNew) << name;
            merged += isMerged ? 1 : 0;
        }
    }
    EXPECT_GT(merged, 500);
}

// What the disk of the destination does with names does not hold for a disk that is mounted in it.
TEST_F(OtherDisk, OnADiskInsideTheDestinationOfTwoNamesThatMeetTheSecondIsAFailure)
{
    const MountedDisk disk(DiskKind::kNtfs);
    VX_NEEDS_DISK(disk);
    _folder.WriteFile("volume/mount/README", "first");
    _folder.WriteFile("volume/mount/readme", "second");
    const std::string outer = disk.Path().substr(0, disk.Path().rfind('/'));
    const Result result = Run({"--to", outer, _volume});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, ": its place is taken by /mount/"));
    EXPECT_EQ(FilesBelow(disk.Path()).size(), 1u);
}

TEST_F(OtherDisk, OnAFatDiskAFileOfFourGibibytesIsNamedFirstAndIsAFailure)
{
    const MountedDisk disk(DiskKind::kFat);
    VX_NEEDS_DISK(disk);
    _folder.MakeSparseFile("volume/large.bin", 1ll << 32);
    _folder.WriteFile("volume/small.txt", "1");
    const Result result = ExportTo(disk);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.errors, "not exported: 1 file\n  /large.bin: 4.0 GiB\n"));
    EXPECT_TRUE(Holds(result.output, "  /large.bin: too large: the destination's disk takes files "
                                     "of up to 4.0 GiB (4,294,967,295 bytes)\n"));
    EXPECT_EQ(FilesBelow(disk.Path()), (Files{{"small.txt", "1"}}));
}

}  // namespace
}  // namespace vx
