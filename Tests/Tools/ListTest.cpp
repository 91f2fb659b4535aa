#include "ToolFixture.h"

#include <algorithm>
#include <sstream>
#include <sys/stat.h>

namespace vx {
namespace {

class List : public ToolTest {
protected:
    List()
    {
        _folder.WriteFile("volume/a.txt", "hello");
        _folder.WriteFile("volume/B\u00fccher/\u65e5\u672c/c.txt", std::string(1536, 'x'));
        _folder.MakeFolder("volume/empty");
    }

    // The rows' last words, sorted: the folder's own order is the file system's.
    static std::vector<std::string> PathsIn(const std::string &rows)
    {
        std::vector<std::string> paths;
        std::istringstream lines(rows);
        for (std::string line; std::getline(lines, line);)
            paths.push_back(line.substr(line.find("  /") + 2));
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    using Paths = std::vector<std::string>;
};

TEST_F(List, WithoutAPathTheRootsEntriesAreListed)
{
    const Result result = Run({"--list", _volume});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(PathsIn(result.output), (Paths{"/B\u00fccher", "/a.txt", "/empty"}));
    EXPECT_EQ(result.errors, "");
}

TEST_F(List, ARowHoldsTypeSizeDateAndPathInFixedColumnsWithoutTabs)
{
    const Result result = Run({"--list", _volume, "a.txt"});
    EXPECT_EQ(result.output.substr(0, 25), "file                  5  ");
    EXPECT_TRUE(Holds(result.output, " at "));
    EXPECT_TRUE(Holds(result.output, "  /a.txt\n"));
    EXPECT_TRUE(Lacks(result.output, "\t"));
}

TEST_F(List, OnATerminalSizesAreRounded)
{
    ToolRun::Settings terminal;
    terminal.onTerminal = true;
    const Result result = Run({"--list", _volume, "/B\u00fccher/\u65e5\u672c"}, terminal);
    EXPECT_TRUE(Holds(result.output, "file        1.50 KB  "));
}

TEST_F(List, RecursiveListsAllBelowFoldersFirst)
{
    const Result result = Run({"--list", "--recursive", _volume});
    EXPECT_EQ(PathsIn(result.output),
              (Paths{"/B\u00fccher", "/B\u00fccher/\u65e5\u672c", "/B\u00fccher/\u65e5\u672c/c.txt",
                     "/a.txt", "/empty"}));
    EXPECT_LT(result.output.find("/\u65e5\u672c\n"), result.output.find("/c.txt\n"));
}

TEST_F(List, APathMayLackItsFirstSlashAndHaveOneAtTheEnd)
{
    const Paths expected = {"/B\u00fccher/\u65e5\u672c"};
    for (const char *path : {"/B\u00fccher", "B\u00fccher", "/B\u00fccher/", "B\u00fccher//"})
        EXPECT_EQ(PathsIn(Run({"--list", _volume, path}).output), expected) << path;
}

TEST_F(List, ANameThatBeginsWithAByteOrderMarkIsNotTheOneWithoutIt)
{
    _folder.WriteFile("volume/\ufeffa.txt", "marked");
    for (const char *path : {"\ufeffa.txt", "/\ufeffa.txt"})
        EXPECT_EQ(PathsIn(Run({"--list", _volume, path}).output), Paths{"/\\ufeffa.txt"});
    EXPECT_EQ(PathsIn(Run({"--list", _volume, "a.txt"}).output), Paths{"/a.txt"});
}

TEST_F(List, ASlashIsTheRoot)
{
    EXPECT_EQ(PathsIn(Run({"--list", _volume, "/"}).output).size(), 3u);
}

TEST_F(List, NamesMatchExactly)
{
    const Result result = Run({"--list", _volume, "/A.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "volume-export: not on the volume: /A.txt\n");
}

TEST_F(List, AnUnknownPathDoesNotKeepTheOthersFromBeingListed)
{
    const Result result = Run({"--list", _volume, "/none", "/a.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(PathsIn(result.output), Paths{"/a.txt"});
    EXPECT_EQ(result.errors, "volume-export: not on the volume: /none\n");
}

TEST_F(List, APathThroughAFileIsAnError)
{
    const Result result = Run({"--list", _volume, "/a.txt/b"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "volume-export: a file and not a folder is on the way to /a.txt/b\n");
}

TEST_F(List, AnEmptyFolderHasNoRows)
{
    const Result result = Run({"--list", _volume, "/empty"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST_F(List, AHostileNameCannotDriveTheTerminalOrEndARow)
{
    const Result result = RunWith(kStandIn, {"--list", "hostile"});
    EXPECT_TRUE(Holds(result.output, "/evil\\x1b]0;owned\\x07\\x0d\\n\\u202e.txt\n"));
    EXPECT_TRUE(Lacks(result.output, "\x1b"));
}

TEST_F(List, LinksAreNamedAndNotFollowed)
{
    _folder.MakeLink("volume/out", "/etc");
    const Result result = Run({"--list", "--recursive", _volume});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "link  "));
    EXPECT_TRUE(Lacks(result.output, "/out/"));
}

TEST_F(List, AFolderThatCannotBeListedIsAnError)
{
    const Result result = RunWith(kStandIn, {"--list", "--recursive", "failing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "volume-export: this folder cannot be listed: /closed\n");
}

TEST_F(List, AFolderThatWasNotListedWholeIsAnError)
{
    const Result result = RunWith(VX_REPORTING, {"--list", "--recursive", "holes"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(PathsIn(result.output), (Paths{"/few", "/few/a", "/found", "/found/b", "/some"}));
    EXPECT_EQ(
        result.errors,
        "volume-export: this folder is incomplete: at least 1,500 entries are missing: /few\n"
        "volume-export: this folder is damaged: 2 entries were found by other records of the disk: /found\n"
        "volume-export: this folder is damaged: entries may be missing: /some\n"
        "volume-export: this folder is incomplete: at least 1 entry is missing: /\n");
}

TEST_F(List, AFolderThatIsNotEnteredIsNoError)
{
    const Result result = RunWith(VX_REPORTING, {"--list", "holes", "/found/b"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

// Who reads on comes to a folder that never answers.
TEST_F(List, ItEndsWithoutAWordWhenNobodyReadsItAnyMore)
{
    const std::string tool = CopyOfTool(VX_REPORTING);
    for (const char *handling : {"", "trap '' PIPE; "}) {
        ToolRun run("/bin/sh", {"-c",
                                std::string(handling) + "{ \"$0\" --list --recursive many; "
                                                        "echo \"$?\" >&2; } | head -n 1",
                                tool});
        EXPECT_EQ(run.Wait(), 0);
        EXPECT_EQ(run.Errors(), "141\n") << handling;
    }
}

TEST_F(List, ANamedLinkToAFolderIsAnErrorOfItsOwn)
{
    const Result result = RunWith(kStandIn, {"--list", "failing", "link-to-folder"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "volume-export: a link to a folder is not followed: /link-to-folder\n");
}

}  // namespace
}  // namespace vx
