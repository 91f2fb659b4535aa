#include "ToolFixture.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class Export : public ToolTest {
protected:
    Result ExportAll() { return Run({"--to", _destination, _volume}); }

    // For a user who may not read the folder that was built in.
    std::string CopyOfLibrary() const
    {
        std::ifstream library(VX_LIBRARY, std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(library), {});
        std::string copy = _folder.WriteFile("library", bytes);
        chmod(copy.c_str(), 0755);
        return copy;
    }
};

TEST_F(Export, EveryFileOfTheVolumeArrivesByteForByte)
{
    std::string large(9 << 20, '\0');
    for (size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char>(i * 31 + i / 4096);
    _folder.WriteFile("volume/large.bin", large);
    _folder.WriteFile("volume/empty.txt", "");
    _folder.WriteFile("volume/B\u00fccher/\u65e5\u672c/\u0441.txt", "text");
    _folder.WriteFile("volume/a/b/c/d/e", "deep");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
    EXPECT_TRUE(Holds(result.output,
                      "Exported 4 files, 9.0 MiB (9,437,192 bytes), to " + _destination + " in "));
    EXPECT_EQ(result.errors, "Exporting 4 files, 9.0 MiB, to " + _destination + "\n");
}

TEST_F(Export, OnlyTheNamedPathsAreExported)
{
    _folder.WriteFile("volume/a/one.txt", "1");
    _folder.WriteFile("volume/a/two.txt", "2");
    _folder.WriteFile("volume/b.txt", "3");
    EXPECT_EQ(Run({"--to", _destination, _volume, "/a/one.txt", "b.txt"}).status, 0);
    const std::map<std::string, std::string> expected = {{"a/one.txt", "1"}, {"b.txt", "3"}};
    EXPECT_EQ(FilesBelow(_destination), expected);
}

TEST_F(Export, WhatIsNamedTwiceIsExportedOnce)
{
    _folder.WriteFile("volume/a/one.txt", "1");
    const Result result =
        Run({"--to", _destination, _volume, "/a/one.txt", "/a", "/a/", "/a/one.txt"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Exported 1 file, 1 byte, to "));
}

TEST_F(Export, AnUnknownPathKeepsEverythingFromBeingExported)
{
    _folder.WriteFile("volume/a.txt", "1");
    const Result result = Run({"--to", _destination, _volume, "/a.txt", "/none"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "volume-export: not on the volume: /none (nothing was exported)\n");
    EXPECT_TRUE(FilesBelow(_destination).empty());
}

TEST_F(Export, ExistingFilesAreOverwritten)
{
    _folder.WriteFile("volume/a.txt", "new");
    _folder.WriteFile("destination/a.txt", "old and longer");
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(_folder.ReadFile("destination/a.txt"), "new");
}

TEST_F(Export, AnEmptyVolumeIsExportedAtOnce)
{
    _folder.MakeFolder("volume/empty");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Exported 0 files, 0 bytes, to "));
}

TEST_F(Export, AMissingDestinationIsMadeAndSaidSo)
{
    _folder.WriteFile("volume/a.txt", "1");
    const Result result = Run({"--to", _folder.At("made"), _volume});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors.find("Made the folder " + _folder.At("made") + "\n"), 0u);
    EXPECT_EQ(_folder.ReadFile("made/a.txt"), "1");
}

TEST_F(Export, ADestinationWithASlashAtTheEndIsFine)
{
    _folder.WriteFile("volume/a.txt", "1");
    EXPECT_EQ(Run({"--to", _destination + "/", _volume}).status, 0);
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Export, ADestinationInAMissingFolderIsRefused)
{
    const Result result = Run({"--to", _folder.At("none/made"), _volume});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "volume-export: cannot make the destination in " + _folder.At("none") +
                                 ": No such file or directory\n");
}

TEST_F(Export, ADestinationThatIsAFileIsRefused)
{
    const std::string file = _folder.WriteFile("file", "x");
    const Result result = Run({"--to", file, _volume});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "volume-export: the destination " + file + " is not a folder\n");
}

TEST_F(Export, ADestinationThatALinkPutsIntoAFolderWithABrokenNameIsRefused)
{
    _folder.WriteFile("volume/a.txt", "1");
    const std::string broken = _folder.MakeFolder("caf\xE9");
    const std::string link = _folder.MakeLink("link", broken);
    const Result result = Run({"--to", link + "/new", _volume});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "volume-export: the destination " + link +
                                 "/new lies in a folder whose name is not valid UTF-8\n");
    EXPECT_NE(access((broken + "/new").c_str(), F_OK), 0) << "the new folder was left behind";
}

TEST_F(Export, TheVolumeItselfIsRefusedAsDestination)
{
    _folder.WriteFile("volume/a.txt", "precious");
    const Result result = Run({"--to", _volume + "/.", _volume});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "volume-export: the destination is the volume itself\n");
    EXPECT_EQ(_folder.ReadFile("volume/a.txt"), "precious");
}

TEST_F(Export, NoDestinationIsMadeForAVolumeThatDoesNotOpen)
{
    EXPECT_EQ(Run({"--to", _folder.At("made"), _folder.At("none")}).status, 3);
    EXPECT_NE(access(_folder.At("made").c_str(), F_OK), 0);
}

TEST_F(Export, LinksThatLeadNowhereAreCountedAndAreNoFailure)
{
    _folder.WriteFile("volume/a.txt", "1");
    _folder.MakeFolder("volume/sub");
    _folder.MakeLink("volume/dangling", "nothing");
    _folder.MakeLink("volume/out", "/etc/passwd");
    _folder.MakeLink("volume/to-sub", "sub");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(Holds(result.output, "Links not followed: 3 ("));
    EXPECT_TRUE(Lacks(result.output, "/dangling"));
    EXPECT_EQ(FilesBelow(_destination).size(), 1u);
}

TEST_F(Export, VerboseNamesTheLinksThatWereNotFollowed)
{
    _folder.MakeLink("volume/dangling", "nothing");
    const Result result = Run({"--to", _destination, _volume, "--verbose"});
    EXPECT_TRUE(Holds(result.output, "):\n  /dangling\n"));
}

TEST_F(Export, ALinkThatWasNamedAndCannotBeFollowedIsAFailure)
{
    _folder.MakeLink("volume/dangling", "nothing");
    const Result result = Run({"--to", _destination, _volume, "/dangling"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 1\n  /dangling: this link is not followed\n"));
}

TEST_F(Export, ALinkToAFileOfTheVolumeArrivesAsThatFile)
{
    _folder.WriteFile("volume/a.txt", "1");
    _folder.MakeLink("volume/link", "a.txt");
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(_folder.ReadFile("destination/link"), "1");
}

TEST_F(Export, AFolderInTheWayOfAFileIsAFailureWithItsReason)
{
    _folder.WriteFile("volume/a", "1");
    _folder.MakeFolder("destination/a");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /a: a folder of this machine stands in its place\n"));
}

TEST_F(Export, AFileInTheWayOfAFolderIsAFailureWithItsReason)
{
    _folder.WriteFile("volume/a/b", "1");
    _folder.WriteFile("volume/c", "2");
    _folder.WriteFile("destination/a", "in the way");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output, "  /a/b: a file of this machine stands where its folder should be\n"));
    EXPECT_EQ(_folder.ReadFile("destination/c"), "2");
    EXPECT_EQ(_folder.ReadFile("destination/a"), "in the way");
}

TEST_F(Export, AFolderThatCannotBeMadeIsAFailureWithItsReason)
{
    _folder.WriteFile("volume/a/b/c", "1");
    _folder.MakeLink("destination/a", "nowhere");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output,
                      "  /a/b/c: a link that leads nowhere stands where its folder should be\n"));
}

TEST_F(Export, AFileBeyondALimitIsAFailureWithBothSizesAndNothingOfItStays)
{
    _folder.WriteFile("volume/large", std::string(200000, 'x'));
    _folder.WriteFile("volume/small", "1");
    ToolRun::Settings limited;
    limited.fileSizeLimit = 131072;
    const Result result = Run({"--to", _destination, _volume}, limited);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output,
                      "  /large: could not be written after 131,072 of 200,000 bytes: "
                      "File too large\n"));
    EXPECT_EQ(FilesBelow(_destination), (Files{{"small", "1"}}));
}

TEST_F(Export, AnOlderFileThatCannotBeOverwrittenIsAFailureThoughItsSizeFits)
{
    _folder.WriteFile("volume/a.txt", "new");
    const std::string old = _folder.WriteFile("destination/a.txt", "old");
    const timespec longAgo[] = {{1000000000, 0}, {1000000000, 0}};
    utimensat(AT_FDCWD, old.c_str(), longAgo, 0);
    chmod(old.c_str(), 0444);
    for (const std::string &path : {_folder.Path(), _destination, _volume})
        chmod(path.c_str(), 0777);
    chmod(_folder.At("volume/a.txt").c_str(), 0644);

    ToolRun::Settings unprivileged;
    unprivileged.withoutPrivileges = true;
    const Result result = RunWith(CopyOfLibrary(), {"--to", _destination, _volume}, unprivileged);
    EXPECT_EQ(result.status, 1) << result.output << result.errors;
    EXPECT_TRUE(
        Holds(result.output, "  /a.txt: an older file in its place could not be overwritten\n"));
}

TEST_F(Export, WhatTheVolumeKeepsBackIsAFailureWithItsReason)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "failing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Failed: 3\n"
                                     "  /closed: this folder cannot be listed\n"
                                     "  /closed.txt: the volume cannot open it\n"
                                     "  /damaged.bin: the volume could not read all of it; the "
                                     "copy is damaged\n"));
    EXPECT_TRUE(Holds(result.output, "Links not followed: 2 ("));
}

TEST_F(Export, TheSizeThatCountsIsTheOneOfTheOpenedFile)
{
    RunWith(kStandIn, {"--to", _destination, "failing", "grown.bin"});
    EXPECT_EQ(_folder.ReadFile("destination/grown.bin").size(), 20u);
}

TEST_F(Export, NothingIsEverWrittenOutsideTheDestination)
{
    _folder.MakeFolder("destination/inner/dest");
    const Result result =
        RunWith(kStandIn, {"--to", _folder.At("destination/inner/dest"), "hostile"});
    EXPECT_EQ(result.status, 1);
    const auto files = FilesBelow(_destination);
    for (const auto &file : files)
        EXPECT_EQ(file.first.find("inner/dest/"), 0u) << file.first;
    EXPECT_EQ(files.count("inner/dest/good.txt"), 1u);
    for (const char *path : {"/..", "/a/../../escaped1", "/a\\\\..\\\\..\\\\escaped2",
                             "/..\\\\escaped3", "/x/../../escaped4"})
        EXPECT_TRUE(Holds(result.output, std::string("  ") + path +
                                             ": its path would lead out of the destination\n"));
    EXPECT_TRUE(Lacks(result.output + result.errors, "\x1b"));
}

TEST_F(Export, AFileThatWouldTakeThePlaceOfAnEarlierOneIsAFailureAndTheEarlierOneStays)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "colliding"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "Exported 1 file, 5 bytes, to "));
    EXPECT_TRUE(
        Holds(result.output, "  /a\\\\b: its place is taken by /a/b, which has arrived there"));
    EXPECT_EQ(FilesBelow(_destination).size(), 1u);
}

TEST_F(Export, VerifyComparesEverythingAgain)
{
    _folder.WriteFile("volume/a.txt", std::string(3000000, 'x'));
    const Result result = Run({"--to", _destination, _volume, "--verify"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "Read again from the destination and compared in "));
}

// Another read of the file would give other bytes.
TEST_F(Export, VerifyReadsTheVolumeNoSecondTime)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "changing", "--verify"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(Holds(result.output, "compared in "));
}

TEST_F(Export, TheLocaleOfTheMachineDoesNotChangeNames)
{
    _folder.WriteFile("volume/\u00e9/\u65e5.txt", "1");
    // The leak checker of a sanitizer build crashes by itself in that locale.
    ToolRun run("/usr/bin/env",
                {"LC_ALL=C", "ASAN_OPTIONS=detect_leaks=0", kTool, "--to", _destination, _volume});
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Export, ALinkToTheProgramFindsTheLibraryToo)
{
    _folder.WriteFile("volume/a.txt", "1");
    ToolRun run(_folder.MakeLink("link", kTool), {"--to", _destination, _volume});
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

}  // namespace
}  // namespace vx
