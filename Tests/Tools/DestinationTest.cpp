// What stands in the destination already, and must not be lost by an export.
#include "ToolFixture.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vx {
namespace {

class Destined : public ToolTest {
protected:
    Result ExportAll(const Arguments &more = {})
    {
        Arguments arguments = {"--to", _destination, _volume};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }
};

TEST_F(Destined, ALinkBackToTheSourceIsReplacedAndTheSourceStays)
{
    const std::string source = _folder.WriteFile("volume/a.txt", "precious");
    _folder.MakeLink("destination/a.txt", source);
    const Result result = ExportAll({"--verify"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(_folder.ReadFile("volume/a.txt"), "precious");
    EXPECT_EQ(FilesBelow(_destination), (Files{{"a.txt", "precious"}}));
}

TEST_F(Destined, AHardLinkToTheSourceIsRefusedAndTheSourceStays)
{
    const std::string source = _folder.WriteFile("volume/a.txt", "precious");
    ASSERT_EQ(link(source.c_str(), _folder.At("destination/a.txt").c_str()), 0);
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output, "  /a.txt: a file that this export reads stands in its place"));
    EXPECT_EQ(_folder.ReadFile("volume/a.txt"), "precious");
}

TEST_F(Destined, ALinkedFolderThatLeadsBackToTheSourceIsNotEntered)
{
    _folder.WriteFile("volume/x/a.txt", "from x");
    _folder.WriteFile("volume/y/a.txt", "from y");
    _folder.MakeLink("destination/x", _folder.At("volume/y"));
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /x/a.txt: its folder leads back into the folder that is "
                                     "exported\n"));
    EXPECT_EQ(_folder.ReadFile("volume/y/a.txt"), "from y");
    EXPECT_EQ(_folder.ReadFile("destination/y/a.txt"), "from y");
}

// The folder "volume" of the volume would arrive in the folder that is exported.
TEST_F(Destined, AFolderThatHoldsTheVolumeAsDestinationKeepsEveryFile)
{
    _folder.WriteFile("volume/a.txt", "original");
    _folder.WriteFile("volume/volume/a.txt", "another");
    _destination = _folder.Path();
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /volume/a.txt: its folder leads back into the folder that "
                                     "is exported\n"));
    EXPECT_EQ(_folder.ReadFile("volume/a.txt"), "original");
    EXPECT_EQ(_folder.ReadFile("a.txt"), "original");
}

TEST_F(Destined, ALinkedFolderThatLeadsOutIsNotFollowedAndTheOthersArrive)
{
    _folder.WriteFile("volume/x/a.txt", "1");
    _folder.WriteFile("volume/y/x/b.txt", "2");
    _folder.WriteFile("volume/good.txt", "3");
    _folder.MakeFolder("elsewhere");
    _folder.MakeLink("destination/x", _folder.At("elsewhere"));
    _folder.MakeFolder("destination/y");
    _folder.MakeLink("destination/y/x", "../../elsewhere");
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    for (const std::string link : {"x", "y/x"}) {
        EXPECT_TRUE(Holds(result.output, ": the link " + link +
                                             " stands where its folder should be, and leads out "
                                             "of the destination\n"));
    }
    EXPECT_TRUE(FilesBelow(_folder.At("elsewhere")).empty());
    EXPECT_EQ(FilesBelow(_destination), (Files{{"good.txt", "3"}}));
}

TEST_F(Destined, ALinkedFolderThatStaysInTheDestinationIsUsedAsAFolder)
{
    _folder.WriteFile("volume/x/a.txt", "1");
    _folder.MakeFolder("destination/real/inside");
    _folder.MakeLink("destination/x", "real/inside");
    EXPECT_EQ(ExportAll({"--verify"}).status, 0);
    EXPECT_EQ(_folder.ReadFile("destination/real/inside/a.txt"), "1");
}

TEST_F(Destined, TheDestinationItselfMayBeALink)
{
    _folder.WriteFile("volume/x/a.txt", "1");
    _folder.MakeFolder("elsewhere");
    _destination = _folder.MakeLink("link", "elsewhere");
    EXPECT_EQ(ExportAll({"--verify"}).status, 0);
    EXPECT_EQ(_folder.ReadFile("elsewhere/x/a.txt"), "1");
}

TEST_F(Destined, TheDestinationMayLieInTheFolderThatIsExported)
{
    _folder.WriteFile("volume/a.txt", "1");
    _folder.WriteFile("volume/x/b.txt", "2");
    _destination = _folder.MakeFolder("volume/out");
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(_folder.ReadFile("volume/out/x/b.txt"), "2");
}

TEST_F(Destined, AnImageWhoseNameTheVolumeHoldsStays)
{
    const std::string image = _folder.WriteFile("destination/disk.E01", "the image");
    const Result result = RunWith(kStandIn, {"--to", _destination, image});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output, "  /disk.E01: a file that this export reads stands in its place\n"));
    EXPECT_EQ(_folder.ReadFile("destination/disk.E01"), "the image");
    EXPECT_EQ(_folder.ReadFile("destination/other.txt").size(), 9u);
}

// A library opens the parts of an image when it needs them.
TEST_F(Destined, APartOfTheImageThatIsNotOpenStaysToo)
{
    const std::string image = _folder.WriteFile("destination/disk.E01", "the image");
    _folder.WriteFile("destination/disk.E02", "its second part");
    _folder.WriteFile("destination/other.txt", "no part of it");
    const Result result = RunWith(kStandIn, {"--to", _destination, image});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(_folder.ReadFile("destination/disk.E02"), "its second part");
    EXPECT_EQ(_folder.ReadFile("destination/other.txt").size(), 9u);
}

TEST_F(Destined, AFileThatTheImagesDescriptorNamesStays)
{
    const std::string image = _folder.WriteFile(
        "destination/image.vmdk", "# Disk DescriptorFile\nRW 16 FLAT \"other.txt\" 0\n");
    _folder.WriteFile("destination/other.txt", "the disk itself");
    const Result result = RunWith(kStandIn, {"--to", _destination, image});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(_folder.ReadFile("destination/other.txt"), "the disk itself");
}

// Given on the command line, or asked for.
TEST_F(Destined, TheFileOfAStartupKeyStays)
{
    const std::string image = _folder.WriteFile("images/disk.E01", "the image");
    const std::string key = _folder.WriteFile("destination/other.txt", "the key");
    ToolRun::Settings settings;
    settings.input = key + "\n";
    for (const std::string &secret : {key, std::string("-")}) {
        const Result result = RunWith(
            kStandIn, {"--to", _destination, image, "--unlock", "startup-key", secret}, settings);
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(Holds(result.output,
                          "  /other.txt: a file that this export reads stands in its place\n"));
        EXPECT_EQ(_folder.ReadFile("destination/other.txt"), "the key");
    }
}

TEST_F(Destined, AFifoIsRefusedAtOnceAndTheOthersArrive)
{
    _folder.WriteFile("volume/fifo", "1");
    _folder.WriteFile("volume/good", "2");
    ASSERT_EQ(mkfifo(_folder.At("destination/fifo").c_str(), 0600), 0);
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /fifo: a FIFO, a socket or a device of this machine stands "
                                     "in its place\n"));
    EXPECT_EQ(FilesBelow(_destination), (Files{{"good", "2"}}));
}

TEST_F(Destined, AFifoInThePlaceOfAFolderIsRefusedAtOnce)
{
    _folder.WriteFile("volume/sub/a", "1");
    ASSERT_EQ(mkfifo(_folder.At("destination/sub").c_str(), 0600), 0);
    const Result result = ExportAll();
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output, "  /sub/a: a file of this machine stands where its folder should be"));
}

TEST_F(Destined, OneOfSeveralNamesOfAFileIsReplacedAndTheOthersKeepIt)
{
    _folder.WriteFile("volume/a.txt", "new");
    const std::string other = _folder.WriteFile("other", "old");
    ASSERT_EQ(link(other.c_str(), _folder.At("destination/a.txt").c_str()), 0);
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(_folder.ReadFile("destination/a.txt"), "new");
    EXPECT_EQ(_folder.ReadFile("other"), "old");
}

TEST_F(Destined, TwoNamesOfOneFileAreBothReplacedAndBecomeTwoFiles)
{
    _folder.WriteFile("volume/a.txt", "new a");
    _folder.WriteFile("volume/sub/b.txt", "new b");
    const std::string old = _folder.WriteFile("destination/a.txt", "old");
    _folder.MakeFolder("destination/sub");
    ASSERT_EQ(link(old.c_str(), _folder.At("destination/sub/b.txt").c_str()), 0);
    const Result result = ExportAll({"--verify"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(FilesBelow(_destination), (Files{{"a.txt", "new a"}, {"sub/b.txt", "new b"}}));
}

TEST_F(Destined, AReplacedFileKeepsItsPermissions)
{
    _folder.WriteFile("volume/a.txt", "new");
    chmod(_folder.WriteFile("destination/a.txt", "old").c_str(), 0640);
    EXPECT_EQ(ExportAll().status, 0);
    struct stat found = {};
    stat(_folder.At("destination/a.txt").c_str(), &found);
    EXPECT_EQ(found.st_mode & 0777, 0640u);
}

TEST_F(Destined, NothingHiddenStaysBehind)
{
    _folder.WriteFile("volume/a.txt", "1");
    _folder.WriteFile("volume/sub/b.txt", "2");
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(FilesBelow(_destination), FilesBelow(_volume));
}

TEST_F(Destined, APartialFileOfAnEarlierRunIsLeftAlone)
{
    _folder.WriteFile("volume/a.txt", "new");
    _folder.WriteFile("destination/.a.txt.partial", "whose is it?");
    EXPECT_EQ(ExportAll().status, 0);
    EXPECT_EQ(FilesBelow(_destination),
              (Files{{"a.txt", "new"}, {".a.txt.partial", "whose is it?"}}));
}

}  // namespace
}  // namespace vx
