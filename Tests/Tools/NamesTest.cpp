// Names that a destination cannot take as they are, and names that meet there.
#include "ToolFixture.h"

#include "NameForms.h"

#include <unistd.h>

namespace vx {
namespace {

class Names : public ToolTest {
protected:
    Result Export(const std::string &volume)
    {
        return RunWith(kStandIn, {"--to", _destination, volume});
    }

    static std::string Repeated(const std::string &text, size_t count)
    {
        std::string all;
        for (size_t i = 0; i < count; ++i)
            all += text;
        return all;
    }
};

TEST_F(Names, AnEntryWithTheNameOfAnEarlierOneIsAFailure)
{
    const Result result = Export("duplicate");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output,
                      "Failed: 1\n  /a.txt: an earlier entry of its folder has the same name\n"));
    EXPECT_TRUE(Holds(result.output, "Exported 3 files, 13 bytes"));
}

TEST_F(Names, AnEntryWithTheNameOfAnEarlierOneIsNotCalledEqual)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "duplicate", "--verify"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /a.txt: an earlier entry of its folder has the same"));
}

TEST_F(Names, AFolderWithTheNameOfAnEarlierOneIsAFailure)
{
    const Result result = Export("duplicate-folder");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.output, "  /f: an earlier folder in its place has the same name\n"));
}

TEST_F(Names, LongNamesAreCutAtACharacterAndStayUniqueAndKeepTheirExtension)
{
    const Result result = Export("long-names");
    EXPECT_EQ(result.status, 0) << result.output;
    const std::string start = Repeated("\u00e9", 124);
    const Files files = FilesBelow(_destination);
    ASSERT_EQ(files.size(), 4u);
    EXPECT_EQ(files.at(start + "~1.txt").size(), 5u);
    EXPECT_EQ(files.at(start + "~2.txt").size(), 7u);
    EXPECT_EQ(files.at(Repeated("\u65e5", 84) + "~1/inside.txt").size(), 9u);
    EXPECT_TRUE(Holds(result.output, "Arrived under another name: 3 files\n"));
    EXPECT_TRUE(Holds(result.output, "2.txt: as " + start + "~2.txt\n"));
}

TEST_F(Names, AnExportThatIsRepeatedGivesTheSameNames)
{
    Export("long-names");
    const Files first = FilesBelow(_destination);
    EXPECT_EQ(Export("long-names").status, 0);
    EXPECT_EQ(FilesBelow(_destination), first);
}

TEST_F(Names, ACutNameLeavesTheNamesOfOthersAlone)
{
    EXPECT_EQ(Export("long-and-taken").status, 0);
    const std::string start = Repeated("\u00e9", 124);
    const Files files = FilesBelow(_destination);
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files.at(start + "~1.txt").size(), 7u);
    EXPECT_EQ(files.at(start + "~2.txt").size(), 5u);
}

TEST_F(Names, ANameThatIsOneBackslashHasAPlace)
{
    const Result result = Export("backslash");
    EXPECT_EQ(result.status, 0) << result.output;
    const Files files = FilesBelow(_destination);
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("_").size(), 5u);
    EXPECT_EQ(files.at("_~1").size(), 7u);
    EXPECT_EQ(files.at("f/_").size(), 9u);
    EXPECT_TRUE(Holds(result.output, "  /\\\\: as _\n"));
}

TEST_F(Names, APathLongerThanTheSystemTakesArrives)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "deep", "--verify"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(Holds(result.output, "Exported 1 file, 5 bytes"));
    EXPECT_TRUE(Holds(result.output, "equal"));
    // The folder is too deep for the fixture to remove by its path.
    ToolRun remove("/bin/rm", {"-rf", _destination});
    EXPECT_EQ(remove.Wait(), 0);
}

TEST_F(Names, WhereCaseCountsNamesThatDifferInCaseBothArrive)
{
    _folder.WriteFile("probe", "x");
    if (access(_folder.At("PROBE").c_str(), F_OK) == 0)
        GTEST_SKIP() << "this disk takes them for one name";
    EXPECT_EQ(Export("case").status, 0);
    EXPECT_EQ(FilesBelow(_destination).size(), 2u);
}

// A folder that is a link to the other one makes two paths meet as on a disk that ignores case.
TEST_F(Names, OfTwoFilesThatMeetTheFirstStaysAndTheSecondNamesIt)
{
    _folder.MakeFolder("destination/A");
    _folder.MakeLink("destination/a", "A");
    const Result result = Export("meeting");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        Holds(result.output, "  /a/x: its place is taken by /A/x, which has arrived there"));
    EXPECT_EQ(_folder.ReadFile("destination/A/x").size(), 5u);
}

TEST(NameForms, AMarkStandsBeforeTheExtension)
{
    EXPECT_EQ(MarkedName("letter.txt", "~1", 255), "letter~1.txt");
    EXPECT_EQ(MarkedName("letter", "~1", 255), "letter~1");
    EXPECT_EQ(MarkedName(".profile", "~1", 255), ".profile~1");
    EXPECT_EQ(MarkedName("a.tar.gz", "~1", 255), "a.tar~1.gz");
}

TEST(NameForms, ANameIsCutBetweenCharactersBeforeTheMark)
{
    EXPECT_EQ(MarkedName("\u00e9\u00e9\u00e9.txt", "~1", 10), "\u00e9\u00e9~1.txt");
    EXPECT_EQ(MarkedName("\u00e9\u00e9\u00e9.txt", "~1", 9), "\u00e9~1.txt");
}

TEST(NameForms, AnEndThatIsTooLongIsNoExtension)
{
    EXPECT_EQ(MarkedName("a." + std::string(50, 'x'), "~1", 20),
              "a." + std::string(16, 'x') + "~1");
}

TEST(NameForms, APartialFileIsHiddenAndADamagedOneSaysSo)
{
    EXPECT_EQ(PartialName("a.txt", 1, 255), ".a.txt.partial");
    EXPECT_EQ(PartialName("a.txt", 3, 255), ".a.txt.3.partial");
    EXPECT_EQ(PartialName(std::string(255, 'x'), 1, 255).size(), 255u);
    EXPECT_EQ(DamagedName("a.txt", 1, 255), "a (damaged).txt");
    EXPECT_EQ(DamagedName("a.txt", 2, 255), "a (damaged 2).txt");
}

}  // namespace
}  // namespace vx
