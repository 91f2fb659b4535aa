// What an export that goes on with an earlier one leaves, does again and removes.
#include "FileSystemFacts.h"
#include "KeptAccessTime.h"
#include "ToolFixture.h"
#include "UniqueFd.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class Resume : public ToolTest {
protected:
    Resume()
    {
        _folder.WriteFile("volume/a.txt", "12345");
        _folder.WriteFile("volume/sub/b.txt", "1");
    }

    Result Export(Arguments more, const std::string &volume = "")
    {
        more.insert(more.begin(), {"--to", _destination, volume.empty() ? _volume : volume});
        return Run(more);
    }
    Result Again(bool hasList)
    {
        Arguments arguments = {"--resume"};
        if (hasList)
            arguments.insert(arguments.end(), {"--manifest", _list});
        return Export(arguments);
    }

    // Changes the file and gives it its date back.
    void ChangeSecretly(const std::string &path)
    {
        struct stat found;
        ASSERT_EQ(stat(_folder.At(path).c_str(), &found), 0);
        _folder.WriteFile(path, std::string(static_cast<size_t>(found.st_size), '#'));
        const timespec times[] = {AccessTimeOf(found), ModificationOf(found)};
        utimensat(AT_FDCWD, _folder.At(path).c_str(), times, 0);
    }

    const std::string _list = _folder.At("list");
};

TEST_F(Resume, WhatIsCompleteIsLeftAndCounted)
{
    for (const bool hasList : {false, true}) {
        EXPECT_EQ(Again(hasList).status, 0);
        struct stat before;
        ASSERT_EQ(stat(_folder.At("destination/a.txt").c_str(), &before), 0);
        const Result result = Again(hasList);
        EXPECT_EQ(result.status, 0) << result.output << result.errors;
        EXPECT_TRUE(Holds(result.output, "Exported 0 files, 0 bytes"));
        EXPECT_TRUE(Holds(result.output, "\n2 files, 6 bytes, were there already.\n"));
        struct stat after;
        ASSERT_EQ(stat(_folder.At("destination/a.txt").c_str(), &after), 0);
        EXPECT_EQ(before.st_ino, after.st_ino);
    }
}

TEST_F(Resume, AFileOfAnotherSizeOrDateIsExportedAgain)
{
    EXPECT_EQ(Again(false).status, 0);
    _folder.WriteFile("destination/a.txt", "1234");
    _folder.WriteFile("destination/sub/b.txt", "#");
    EXPECT_TRUE(Holds(Again(false).output, "Exported 2 files, 6 bytes"));
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Resume, WithAListTheContentsDecide)
{
    EXPECT_EQ(Again(true).status, 0);
    ChangeSecretly("destination/a.txt");
    EXPECT_TRUE(Holds(Again(false).output, "Exported 0 files"));
    EXPECT_TRUE(Holds(Again(true).output, "Exported 1 file, 5 bytes"));
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Resume, TheListKeepsWhatAnEarlierExportOfOtherFilesHasPutThere)
{
    const Arguments options = {"--resume", "--manifest", _list};
    const auto exportOf = [&](const std::string &path) {
        Arguments arguments = {"--to", _destination, _volume, path};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Run(arguments);
    };
    EXPECT_EQ(exportOf("/sub").status, 0);
    EXPECT_EQ(exportOf("/a.txt").status, 0);
    const std::string list = _folder.ReadFile("list");
    EXPECT_TRUE(Holds(list, "  a.txt\n"));
    EXPECT_TRUE(Holds(list, "  sub/b.txt\n"));

    // What is gone, or has another size now, is no longer proved.
    _folder.WriteFile("destination/sub/b.txt", "22");
    EXPECT_EQ(exportOf("/a.txt").status, 0);
    EXPECT_FALSE(Holds(_folder.ReadFile("list"), "sub/b.txt"));
}

TEST_F(Resume, AFileThatChangedOnTheVolumeIsExportedAgain)
{
    EXPECT_EQ(Again(true).status, 0);
    _folder.WriteFile("volume/a.txt", "54321");
    EXPECT_TRUE(Holds(Again(true).output, "Exported 1 file, 5 bytes"));
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

// It has the size and the date of the file, and must not pass for it.
TEST_F(Resume, ADamagedCopyIsTriedAgainAndStaysAlone)
{
    EXPECT_EQ(RunWith(kStandIn, {"--to", _destination, "riddled"}).status, 1);
    const Files files = FilesBelow(_destination);
    for (const Arguments &more : {Arguments{}, Arguments{"--manifest", _list}}) {
        Arguments arguments = {"--to", _destination, "riddled", "--resume"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        for (int turn = 0; turn < 2; ++turn) {
            const Result result = RunWith(kStandIn, arguments);
            EXPECT_EQ(result.status, 1);
            EXPECT_TRUE(Holds(result.output, "Failed: 1\n"));
            EXPECT_TRUE(Lacks(result.output, "already"));
            EXPECT_EQ(FilesBelow(_destination), files);
        }
    }
}

TEST_F(Resume, LeftoversOfPlannedFilesGo)
{
    for (const char *name : {".a.txt.partial", ".a.txt.2.partial", "sub/.b.txt.partial"})
        _folder.WriteFile(std::string("destination/") + name, "left");
    EXPECT_EQ(Again(false).status, 0);
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Resume, WhatIsNoLeftoverStays)
{
    _folder.WriteFile("destination/.other.partial", "of no planned file");
    _folder.WriteFile("volume/.a.txt.partial", "planned itself");
    _folder.WriteFile("destination/named", "twice");
    ASSERT_EQ(link(_folder.At("destination/named").c_str(),
                   _folder.At("destination/.a.txt.2.partial").c_str()),
              0);
    _folder.MakeFolder("destination/.a.txt.3.partial");
    _folder.MakeLink("destination/.a.txt.4.partial", "named");
    EXPECT_EQ(Again(false).status, 0);
    EXPECT_EQ(Again(false).status, 0);
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.count(".other.partial"), 1u);
    EXPECT_EQ(files.at(".a.txt.partial"), "planned itself");
    EXPECT_EQ(files.at(".a.txt.2.partial"), "twice");
    struct stat found;
    EXPECT_EQ(lstat(_folder.At("destination/.a.txt.3.partial").c_str(), &found), 0);
    EXPECT_EQ(lstat(_folder.At("destination/.a.txt.4.partial").c_str(), &found), 0);
}

// As an export does that is still writing it.
TEST_F(Resume, WhatAnotherExportIsWritingStays)
{
    _folder.WriteFile("destination/.a.txt.partial", "half");
    const UniqueFd held(open(_folder.At("destination/.a.txt.partial").c_str(), O_WRONLY));
    ASSERT_EQ(flock(held.Get(), LOCK_EX), 0);
    EXPECT_EQ(Again(false).status, 0);
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.at(".a.txt.partial"), "half");
    EXPECT_EQ(files.at("a.txt"), "12345");
}

TEST_F(Resume, WithoutItEverythingIsExportedAgain)
{
    EXPECT_EQ(Again(true).status, 0);
    _folder.WriteFile("destination/.a.txt.partial", "left");
    EXPECT_TRUE(Holds(Export({}).output, "Exported 2 files, 6 bytes"));
    EXPECT_EQ(FilesBelow(_destination).count(".a.txt.partial"), 1u);
}

// The first one has the place, as it had in the first run.
TEST_F(Resume, OfTwoFilesForOnePlaceTheSecondStaysAFailure)
{
    const Arguments arguments = {"--to", _destination, "colliding", "--manifest", _list};
    EXPECT_EQ(RunWith(kStandIn, arguments).status, 1);
    const Files files = FilesBelow(_destination);
    const std::string list = _folder.ReadFile("list");
    Arguments again = arguments;
    again.push_back("--resume");
    const Result result = RunWith(kStandIn, again);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "its place is taken by"));
    EXPECT_EQ(FilesBelow(_destination), files);
    EXPECT_EQ(_folder.ReadFile("list"), list);
}

TEST_F(Resume, VerifyReadsWhatWasThereToo)
{
    EXPECT_EQ(Again(true).status, 0);
    const Result result = Export({"--resume", "--manifest", _list, "--verify"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "compared in "));
    EXPECT_TRUE(Holds(Export({"--resume", "--verify"}).output,
                      "Not read again: 2 files that were there already, since no hash list was "
                      "kept.\n"));
}

TEST_F(Resume, AListThatCannotBeWrittenIsAFailureOfACompleteExport)
{
    EXPECT_EQ(Again(true).status, 0);
    const std::string list = _folder.MakeFolder("lists") + "/list";
    // Too small for the list of two files.
    ToolRun::Settings limited;
    limited.fileSizeLimit = 100;
    const Result result = Run({"--to", _destination, _volume, "--manifest", list}, limited);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "cannot write the hash list " + list +
                                         ": File too large; "
                                         "what has arrived is in "));
    EXPECT_NE(access(list.c_str(), F_OK), 0);
}

}  // namespace
}  // namespace vx
