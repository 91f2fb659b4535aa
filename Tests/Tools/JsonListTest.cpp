// The lists for programs: every key, and what it says of each kind of entry.
#include "ToolFixture.h"

#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class JsonList : public ToolTest {
protected:
    // The line with this path; a failure if there is none.
    static std::string LineOf(const std::string &output, const std::string &path)
    {
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);) {
            if (line.find(",\"path\":\"" + path + "\",") != std::string::npos)
                return line;
        }
        ADD_FAILURE() << "no " << path << " in:\n" << output;
        return "";
    }
    Result Kinds() { return RunWith(VX_REPORTING, {"--list", "--json", "--recursive", "kinds"}); }
};

TEST_F(JsonList, IsOneObjectOnEachLine)
{
    _folder.WriteFile("volume/a.txt", "hello");
    _folder.MakeFolder("volume/B\u00fccher/\u65e5\u672c");
    const Result result = Run({"--list", "--json", _volume, "/a.txt", "/B\u00fccher"});
    EXPECT_EQ(result.status, 0);
    std::istringstream lines(result.output);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(
        line.find(
            "{\"type\":\"file\",\"path\":\"/a.txt\",\"size\":5,\"streams\":[],\"allStreams\":true,\"modified\":\"20"),
        0u);
    EXPECT_EQ(line.back(), '}');
    std::getline(lines, line);
    EXPECT_EQ(line.find("{\"type\":\"folder\",\"path\":\"/B\u00fccher/\u65e5\u672c\",\"size\":0,"),
              0u);
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(JsonList, EscapesWhatAHostileNameHolds)
{
    const Result result = RunWith(kStandIn, {"--list", "--json", "hostile"});
    EXPECT_TRUE(Holds(result.output, "\"path\":\"/evil\\u001b]0;owned\\u0007\\u000d\\u000a"));
    EXPECT_TRUE(Holds(result.output, "\"path\":\"/a\\\\..\\\\..\\\\escaped2\""));
}

TEST_F(JsonList, AFileHasItsTimesAndAttributes)
{
    EXPECT_EQ(LineOf(Kinds().output, "/plain.txt"),
              "{\"type\":\"file\",\"path\":\"/plain.txt\",\"size\":5,"
              "\"streams\":[],\"allStreams\":true,"
              "\"modified\":\"2020-09-30T17:00:00.0000000Z\","
              "\"created\":\"1601-01-01T00:00:00.0000001Z\","
              "\"accessed\":\"2020-09-30T17:00:00.1234567Z\","
              "\"attributes\":33,\"attributeNames\":[\"read-only\",\"archive\"],"
              "\"reparse\":null,\"target\":null,"
              "\"exportable\":true,\"reason\":null,\"listing\":null}");
}

TEST_F(JsonList, NamedStreamsAreListedWithTheirSizes)
{
    const Result result = RunWith(VX_REPORTING, {"--list", "--json", "streams"});
    EXPECT_TRUE(Holds(LineOf(result.output, "/f.txt"),
                      "\"streams\":[{\"name\":\"Zone.Identifier\",\"size\":26},"
                      "{\"name\":\"a \\\"b\\\"\",\"size\":null}],\"allStreams\":true,"));
    EXPECT_TRUE(Holds(LineOf(result.output, "/torn"), "\"streams\":[],\"allStreams\":false,"));
}

TEST_F(JsonList, ALinkToAFolderHasNoListing)
{
    _folder.MakeFolder("volume/inside");
    ASSERT_EQ(symlink("..", (_volume + "/inside/up").c_str()), 0);
    const Result result = Run({"--list", "--json", "--recursive", _volume});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(LineOf(result.output, "/inside/up"),
                      "\"exportable\":false,\"reason\":\"link\",\"listing\":null}"));
}

TEST_F(JsonList, AFolderSaysWhetherItWasListedWhole)
{
    const Result result = Kinds();
    EXPECT_TRUE(Holds(LineOf(result.output, "/folder"),
                      "\"created\":null,\"accessed\":null,"
                      "\"attributes\":18,\"attributeNames\":[\"hidden\",\"folder\"],"
                      "\"reparse\":null,\"target\":null,\"exportable\":true,\"reason\":null,"
                      "\"listing\":{\"whole\":true,\"missing\":0,\"recovered\":0,"
                      "\"reason\":null}}"));
    EXPECT_TRUE(Holds(LineOf(result.output, "/closed"),
                      "\"exportable\":false,\"reason\":\"unreadable\","
                      "\"listing\":{\"whole\":false,"));
}

TEST_F(JsonList, AFolderThatCannotBeListedForNoKnownReasonSaysThat)
{
    const Result result = RunWith(kStandIn, {"--list", "--json", "--recursive", "failing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(LineOf(result.output, "/closed"),
                      "\"exportable\":false,\"reason\":\"not-listable\""));
}

TEST_F(JsonList, AFolderThatWasNotEnteredSaysNothingOfItsListing)
{
    const Result result = RunWith(VX_REPORTING, {"--list", "--json", "kinds"});
    EXPECT_TRUE(Holds(LineOf(result.output, "/folder"), "\"exportable\":true,"));
    EXPECT_TRUE(Holds(LineOf(result.output, "/folder"), "\"listing\":null}"));
}

TEST_F(JsonList, AReparsePointHasItsTagKindAndTarget)
{
    const Result result = Kinds();
    EXPECT_TRUE(Holds(LineOf(result.output, "/junction"),
                      "\"reparse\":{\"tag\":2684354563,\"kind\":\"mount-point\"},"
                      "\"target\":\"\\\\??\\\\C:\\\\a \\\"b\\\"\","
                      "\"exportable\":false,\"reason\":\"link\""));
    EXPECT_EQ(LineOf(result.output, "/junction").find("{\"type\":\"link\","), 0u);
    EXPECT_TRUE(Holds(LineOf(result.output, "/strange"),
                      "\"reparse\":{\"tag\":4660,\"kind\":\"other\"},\"target\":null,"
                      "\"exportable\":false,\"reason\":\"unknown-reparse-point\""));
}

TEST_F(JsonList, AReparsePointWithDataOfItsOwnIsNoLink)
{
    const Result result = Kinds();
    const std::string packed = LineOf(result.output, "/packed.exe");
    EXPECT_EQ(packed.find("{\"type\":\"file\","), 0u);
    EXPECT_TRUE(Holds(packed, "\"kind\":\"packed\"},\"target\":null,"
                              "\"exportable\":false,\"reason\":\"packed\""));
    const std::string cloud = LineOf(result.output, "/cloud.doc");
    EXPECT_EQ(cloud.find("{\"type\":\"file\","), 0u);
    EXPECT_TRUE(Holds(cloud, "\"attributeNames\":[\"reparse-point\",\"recall-on-data-access\"]"));
    EXPECT_TRUE(Holds(cloud, "\"kind\":\"cloud\"},\"target\":null,"
                             "\"exportable\":false,\"reason\":\"only-in-cloud\""));
}

TEST_F(JsonList, ANameThatIsNoTextCannotBeExported)
{
    EXPECT_TRUE(
        Holds(LineOf(Kinds().output, "/bad\ufffd"), "\"exportable\":false,\"reason\":\"name\""));
}

TEST_F(JsonList, WithoutReportsALinkIsStillALink)
{
    const Result result = RunWith(kStandIn, {"--list", "--json", "failing"});
    const std::string link = LineOf(result.output, "/link-to-nothing");
    EXPECT_EQ(link.find("{\"type\":\"link\","), 0u);
    EXPECT_TRUE(Holds(link, "\"exportable\":false,\"reason\":\"link\""));
}

TEST_F(JsonList, AFolderThatWasAskedForAndNotListedWholeHasALineOfItsOwn)
{
    const Result result = RunWith(VX_REPORTING, {"--list", "--json", "holes", "/few", "/found"});
    EXPECT_EQ(result.status, 1);
    const std::string last = "{\"type\":\"listing\",\"path\":\"/few\",\"listing\":{\"whole\":false,"
                             "\"missing\":1500,\"recovered\":0,\"reason\":\"unreadable\"}}\n";
    EXPECT_TRUE(Holds(result.output, last));
    EXPECT_TRUE(Lacks(result.output, "{\"type\":\"listing\",\"path\":\"/found\""));
    EXPECT_TRUE(Holds(result.errors, "at least 1,500 entries are missing: /few\n"));
    EXPECT_TRUE(
        Holds(result.errors, "2 entries were found by other records of the disk: /found\n"));
}

TEST_F(JsonList, ATimeIsThatOfTheDiskInUtc)
{
    const std::string file = _folder.WriteFile("volume/a.txt", "hello");
    const timespec times[] = {{1600000000, 123456789}, {1700000000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    ToolRun run("/bin/sh", {"-c", "TZ=Asia/Tokyo exec \"$0\" \"$@\"", kTool, "--list", "--json",
                            _volume, "/a.txt"});
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_TRUE(Holds(run.Output(), "\"modified\":\"2023-11-14T22:13:20.9876543Z\""));
    EXPECT_TRUE(Holds(run.Output(), "\"accessed\":\"2020-09-13T12:26:40.1234567Z\""));
}

}  // namespace
}  // namespace vx
