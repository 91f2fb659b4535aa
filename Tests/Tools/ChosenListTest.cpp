// What --include, --exclude, sizes and dates leave of a list, compared with rsync and find.
#include "ToolFixture.h"

#include <algorithm>
#include <fcntl.h>
#include <set>
#include <sstream>
#include <sys/stat.h>

namespace vx {
namespace {

using Paths = std::set<std::string>;

class ChosenList : public ToolTest {
protected:
    ChosenList()
    {
        for (const char *path :
             {"Users/anna/cache/1.tmp", "Users/anna/keep.tmp", "Users/anna/a.doc",
              "Users/b\u00e9/x.tmp", "Users/b\u00e9/cache", "Temp/1.tmp", "readme"})
            _folder.WriteFile(std::string("volume/") + path, "1234567890");
        _folder.WriteFile("volume/large", std::string(5000, 'x'));
        _folder.WriteFile("volume/none", "");
        for (const char *path : {"Users/anna/a.doc", "readme"})
            Age(path, 1551520800);  // 2019-03-02 10:00 UTC
    }

    void Age(const std::string &path, time_t seconds) const
    {
        const timespec times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, _folder.At("volume/" + path).c_str(), times, 0), 0);
    }

    Paths Listed(Arguments arguments)
    {
        arguments.insert(arguments.begin(), {"--list", "--recursive", _volume});
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        Paths paths;
        std::istringstream lines(result.output);
        for (std::string line; std::getline(lines, line);)
            paths.insert(line.substr(line.find("  /") + 2));
        return paths;
    }

    // The lines of another program's output, which are paths.
    static Paths By(const std::string &program, const Arguments &arguments)
    {
        ToolRun run(program, arguments);
        EXPECT_EQ(run.Wait(), 0) << run.Errors();
        Paths paths;
        std::istringstream lines(run.Output());
        for (std::string line; std::getline(lines, line);)
            paths.insert(line);
        return paths;
    }

    // Files only, as find prints them.
    Paths Found(Arguments tests) const
    {
        Arguments arguments = {_volume, "-type", "f"};
        arguments.insert(arguments.end(), tests.begin(), tests.end());
        arguments.insert(arguments.end(), {"-printf", "/%P\\n"});
        return By("/usr/bin/find", arguments);
    }

    Paths ListedFiles(const Arguments &arguments)
    {
        Paths files;
        const Paths all = Found({});
        for (const std::string &path : Listed(arguments)) {
            if (all.count(path) > 0)
                files.insert(path);
        }
        return files;
    }
};

TEST_F(ChosenList, TheRulesChooseWhatRsyncChooses)
{
    if (std::string(VX_RSYNC).empty())
        GTEST_SKIP() << "rsync is missing";
    const Arguments rules = {
        "--include", "keep.tmp", "--exclude", "*.tmp", "--exclude=/Users/*/cache/",
        "--exclude", "/Te*/***"};
    Arguments arguments = {"-r", "-8", "--dry-run", "--out-format=/%n"};
    arguments.insert(arguments.end(), rules.begin(), rules.end());
    arguments.insert(arguments.end(), {_volume + "/", _destination});
    Paths theirs;
    for (const std::string &path : By(VX_RSYNC, arguments))
        theirs.insert(path.back() == '/' ? path.substr(0, path.size() - 1) : path);
    theirs.erase("/.");
    EXPECT_EQ(Listed(rules), theirs);
    EXPECT_EQ(theirs.size(), 9u);
}

TEST_F(ChosenList, SizesAndDatesChooseWhatFindFinds)
{
    EXPECT_EQ(ListedFiles({"--min-size", "10", "--max-size", "4K"}),
              Found({"-size", "+9c", "-size", "-4097c"}));
    EXPECT_EQ(ListedFiles({"--newer", "2019-03-02T10:00Z"}),
              Found({"-newermt", "2019-03-02 09:59:59Z"}));
    EXPECT_EQ(ListedFiles({"--older", "2019-03-02T10:00:01Z"}),
              Found({"!", "-newermt", "2019-03-02 10:00:00Z"}));
    EXPECT_EQ(ListedFiles({"--newer", "2019-03-02T10:00:01Z"}).size(), 7u);
}

TEST_F(ChosenList, FoldersAreListedWhateverTheirSizeAndDate)
{
    const Paths listed = Listed({"--min-size", "1G"});
    EXPECT_EQ(listed,
              (Paths{"/Temp", "/Users", "/Users/anna", "/Users/anna/cache", "/Users/b\u00e9"}));
}

TEST_F(ChosenList, AnExcludedFolderIsNotEntered)
{
    EXPECT_EQ(Listed({"--exclude", "Users", "--include", "keep.tmp"}),
              (Paths{"/Temp", "/Temp/1.tmp", "/large", "/none", "/readme"}));
}

TEST_F(ChosenList, AFolderThatCannotBeListedIsNoErrorWhenItIsExcluded)
{
    const Result result =
        RunWith(kStandIn, {"--list", "--recursive", "failing", "--exclude", "closed"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST_F(ChosenList, AListWithoutRecursionIsChosenFromAsWell)
{
    const Result result = Run({"--list", _volume, "Users/anna", "--exclude", "*.tmp"});
    EXPECT_TRUE(Holds(result.output, "  /Users/anna/a.doc\n"));
    EXPECT_TRUE(Lacks(result.output, "keep.tmp"));
}

TEST_F(ChosenList, PatternsBeginAtTheRootOfTheVolumeWhateverIsNamed)
{
    EXPECT_EQ(Listed({"Users/anna", "--exclude", "/cache", "--exclude", "/Users/anna/a.doc"}),
              (Paths{"/Users/anna/cache", "/Users/anna/cache/1.tmp", "/Users/anna/keep.tmp"}));
}

TEST_F(ChosenList, WhatIsNamedIsListedWhateverTheRulesSay)
{
    EXPECT_EQ(Listed({"Temp/1.tmp", "--exclude", "*.tmp", "--min-size", "1G"}),
              Paths{"/Temp/1.tmp"});
    EXPECT_EQ(Listed({"Temp", "--exclude", "/Temp"}), Paths{"/Temp/1.tmp"});
}

TEST_F(ChosenList, JsonObjectsAreChosenAsRowsAre)
{
    const Result result =
        Run({"--list", "--recursive", "--json", _volume, "--exclude", "Users", "--exclude=Temp"});
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3);
}

}  // namespace
}  // namespace vx
