// What --include, --exclude, sizes and dates leave of an export, compared with a copy by rsync.
#include "ToolFixture.h"

namespace vx {
namespace {

class ChosenExport : public ToolTest {
protected:
    ChosenExport()
    {
        for (const char *path :
             {"Users/anna/cache/1.tmp", "Users/anna/keep.tmp", "Users/anna/a.doc",
              "Users/b\u00e9/x.tmp", "Users/b\u00e9/cache", "Temp/1.tmp", "readme"})
            _folder.WriteFile(std::string("volume/") + path, path);
    }

    Files Exported(Arguments arguments)
    {
        arguments.insert(arguments.begin(), {"--to", _destination, _volume});
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, 0) << result.output << result.errors;
        return FilesBelow(_destination);
    }
};

TEST_F(ChosenExport, TheRulesExportWhatRsyncCopies)
{
    if (std::string(VX_RSYNC).empty())
        GTEST_SKIP() << "rsync is missing";
    const Arguments rules = {"--include", "keep.tmp", "--exclude", "*.tmp",
                             "--exclude=/Users/*/cache/"};
    const std::string copy = _folder.MakeFolder("copy");
    Arguments arguments = {"-r"};
    arguments.insert(arguments.end(), rules.begin(), rules.end());
    arguments.insert(arguments.end(), {_volume + "/", copy});
    ToolRun rsync(VX_RSYNC, arguments);
    EXPECT_EQ(rsync.Wait(), 0);
    const Files copied = FilesBelow(copy);
    EXPECT_EQ(copied.size(), 4u);
    EXPECT_EQ(Exported(rules), copied);
}

TEST_F(ChosenExport, WhatIsNamedIsExportedWhateverTheRulesSay)
{
    EXPECT_EQ(Exported({"Temp/1.tmp", "Users/anna", "--exclude", "*.tmp", "--exclude=Users"}),
              (Files{{"Temp/1.tmp", "Temp/1.tmp"}, {"Users/anna/a.doc", "Users/anna/a.doc"}}));
}

TEST_F(ChosenExport, SizesConcernFilesOnly)
{
    EXPECT_EQ(Exported({"--max-size", "6"}), (Files{{"readme", "readme"}}));
}

TEST_F(ChosenExport, DatesConcernFilesOnly)
{
    EXPECT_EQ(Exported({"--newer", "1980-01-01"}), FilesBelow(_volume));
    _destination = _folder.MakeFolder("second");
    EXPECT_EQ(Exported({"--older", "1980-01-01"}), Files());
}

TEST_F(ChosenExport, AnExcludedFolderThatCannotBeListedIsNoFailure)
{
    const Result result = RunWith(kStandIn, {"--to", _destination, "failing", "--exclude", "closed",
                                             "--include=opens", "--exclude", "*"});
    EXPECT_TRUE(Lacks(result.output, "closed"));
    EXPECT_EQ(result.status, 0) << result.output;
}

}  // namespace
}  // namespace vx
