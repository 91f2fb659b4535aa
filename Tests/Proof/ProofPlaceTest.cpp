// Where the lists of an export may not be written.
#include "ProofPlace.h"
#include "OrdinaryUser.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class ProofPlace : public ::testing::Test {
protected:
    ProofPlace()
    {
        _surroundings.destination = _folder.MakeFolder("to");
        _surroundings.volume = _folder.MakeFolder("volume");
        _surroundings.isRead = [this](const struct stat &found) {
            struct stat image;
            return stat(_folder.At("image").c_str(), &image) == 0 && image.st_ino == found.st_ino;
        };
    }

    // Why it is refused; empty if it is not.
    std::string Reason(const std::string &file)
    {
        std::string error;
        const std::string path = file[0] == '/' ? file : _folder.At(file);
        const std::string start = "cannot write the file of --manifest, " + path + ": ";
        if (MayWrite({{"--manifest", path}}, _surroundings, &error))
            return "";
        EXPECT_EQ(error.substr(0, start.size()), start);
        return error.substr(start.size());
    }

    TemporaryFolder _folder;
    ProofSurroundings _surroundings;
};

TEST_F(ProofPlace, ANewOrAnOrdinaryFileIsAllowed)
{
    EXPECT_EQ(Reason("new"), "");
    _folder.WriteFile("old", "");
    EXPECT_EQ(Reason("old"), "");
}

TEST_F(ProofPlace, InTheDestinationOrTheExportedFolderItIsRefused)
{
    const std::string inside = "it lies in the destination; choose a place outside";
    EXPECT_EQ(Reason("to/list"), inside);
    _folder.MakeFolder("to/a/b");
    EXPECT_EQ(Reason("to/a/b/list"), inside);
    _folder.MakeLink("link", "to/a");
    EXPECT_EQ(Reason("link/list"), inside);
    EXPECT_EQ(Reason("to/a/../../list"), "");
    EXPECT_EQ(Reason("volume/list"),
              "it lies in the folder that is exported; choose a place outside");
}

TEST_F(ProofPlace, ADestinationThatDoesNotExistYetHoldsNothing)
{
    _surroundings.destination = _folder.At("later");
    EXPECT_EQ(Reason("list"), "");
}

TEST_F(ProofPlace, WhatIsNotAnOrdinaryFileIsRefused)
{
    _folder.MakeLink("link", "nowhere");
    EXPECT_EQ(Reason("link"), "it is a symbolic link");
    _folder.MakeFolder("folder");
    EXPECT_EQ(Reason("folder"), "it is a folder");
    EXPECT_EQ(Reason("folder/"), "it is a folder");
    ASSERT_EQ(mkfifo(_folder.At("fifo").c_str(), 0600), 0);
    EXPECT_EQ(Reason("fifo"), "it is not an ordinary file");
    EXPECT_EQ(Reason("/dev/null"), "it is not an ordinary file");
    _folder.WriteFile("image", "");
    EXPECT_EQ(Reason("image"), "this export reads it");
}

TEST_F(ProofPlace, WhatCannotBeWrittenIsRefused)
{
    EXPECT_EQ(Reason("no/list"), "its folder cannot be written: No such file or directory");
    EXPECT_EQ(Reason(std::string(250, 'x')), "its name is too long");
    chmod(_folder.Path().c_str(), 0755);
    chmod(_folder.MakeFolder("open").c_str(), 0777);
    chmod(_folder.WriteFile("open/locked", "").c_str(), 0444);
    chmod(_folder.MakeFolder("closed").c_str(), 0555);
    const OrdinaryUser user;
    EXPECT_EQ(Reason("open/locked"), "Permission denied");
    EXPECT_EQ(Reason("closed/list"), "its folder cannot be written: Permission denied");
}

TEST_F(ProofPlace, TwoOptionsDoNotShareAFileOrWhatBelongsToIt)
{
    const auto reasonOf = [this](const std::string &manifest, const std::string &report) {
        std::string error;
        MayWrite({{"--manifest", _folder.At(manifest)}, {"--report", _folder.At(report)}},
                 _surroundings, &error);
        return error;
    };
    const std::string shared = ": another option names the same file, or one that belongs to it";
    const std::string start = "cannot write the file of --report, ";
    EXPECT_EQ(reasonOf("list", "report"), "");
    EXPECT_EQ(reasonOf("list", "list"), start + _folder.At("list") + shared);
    EXPECT_EQ(reasonOf("list", ".list.journal"), start + _folder.At(".list.journal") + shared);
    EXPECT_EQ(reasonOf("list", ".list.partial"), start + _folder.At(".list.partial") + shared);
    EXPECT_EQ(reasonOf(".r.partial", "r"), start + _folder.At("r") + shared);
}

}  // namespace
}  // namespace vx
