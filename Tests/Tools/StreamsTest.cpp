// Streams beside the data of files and folders, as --streams exports them.
#include "ToolFixture.h"

namespace vx {
namespace {

class Streams : public ToolTest {
protected:
    Result Export(const Arguments &more)
    {
        Arguments arguments = {"--to", _destination, "streams"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunWith(kStandIn, arguments);
    }
    // What the stand-in's files hold.
    static std::string Content(size_t size)
    {
        std::string bytes;
        for (size_t i = 0; i < size; ++i)
            bytes.push_back(static_cast<char>(i * 7));
        return bytes;
    }
};

TEST_F(Streams, AreNotExportedUnlessThatIsWanted)
{
    const Result result = Export({"/dated.txt", "/folder"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(FilesBelow(_destination),
              (Files{{"dated.txt", Content(3)}, {"folder/inside.txt", Content(5)}}));
}

TEST_F(Streams, ArriveBesideTheirFilesAndFolders)
{
    const Result result = Export({"--streams", "--verify", "/dated.txt", "/folder"});
    EXPECT_EQ(result.status, 1);
    std::string holed = Content(3 << 20);
    holed.replace(4096, 512, 512, '\0');
    EXPECT_EQ(FilesBelow(_destination), (Files{{"dated.txt", Content(3)},
                                               {"dated.txt:Zone.Identifier", Content(26)},
                                               {"folder:of a folder", Content(7)},
                                               {"folder/inside.txt", Content(5)},
                                               {"folder/inside.txt:holed", holed}}));
    EXPECT_TRUE(Holds(result.output, "Exported 4 files"));
    EXPECT_TRUE(Holds(result.output,
                      "Failed: 3\n"
                      "  /folder/inside.txt:holed: bytes 4096 to 4607 could not be read and are "
                      "zero\n"
                      "  /folder/inside.txt:closed: the volume cannot open it: its records on the "
                      "disk contradict each other\n"
                      "  /folder/inside.txt:..\\\\..\\\\escaped: "));
}

TEST_F(Streams, OfTheWholeVolumeIncludeThoseOfTheRoot)
{
    const Result result = Export({"--streams"});
    EXPECT_EQ(result.status, 1);
    const Files files = FilesBelow(_destination);
    EXPECT_EQ(files.count(":of the root"), 1u);
    EXPECT_EQ(files.count("folder:of a folder"), 1u);
}

TEST_F(Streams, ThatMayBeMissingAreNamed)
{
    const Result result = Export({"--streams", "/torn.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output,
                      "  /torn.txt: its named streams may be missing: records on the disk are "
                      "damaged\n"));
    EXPECT_EQ(FilesBelow(_destination), (Files{{"torn.txt", Content(3)}}));
}

TEST_F(Streams, WithTheNameOfAnotherFileFailAndLeaveThatFile)
{
    const Result result = Export({"--streams"});
    EXPECT_EQ(FilesBelow(_destination).at("same:s"), Content(6));
    EXPECT_TRUE(Holds(result.output, "  /same:s: "));
}

TEST_F(Streams, OfAnEncryptedFileAreCountedWithIt)
{
    const Result result = Export({"--streams", "/efs.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "2 files are encrypted by Windows on their own (EFS)"));
}

}  // namespace
}  // namespace vx
