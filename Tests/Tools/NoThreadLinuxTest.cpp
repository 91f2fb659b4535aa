// The program where the system has no thread to give: the first one that it asks for would begin
// with more stack than there are addresses.
#include "ToolFixture.h"

namespace vx {
namespace {

class NoThread : public ToolTest {
protected:
    NoThread() { _folder.WriteFile("volume/a.txt", "hello"); }
    Result RunWithoutThreads(Arguments arguments)
    {
        arguments.insert(arguments.begin(),
                         {"-c", "ulimit -s 100000000000 && exec \"$0\" \"$@\"", kTool});
        ToolRun run("/bin/sh", arguments);
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }
};

TEST_F(NoThread, AnExportNeedsNone)
{
    const Result result = RunWithoutThreads({"--to", _destination, _volume});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(Lacks(result.errors, "xception"));
    EXPECT_EQ(FilesBelow(_destination), (Files{{"a.txt", "hello"}}));
}

TEST_F(NoThread, AListNeedsNone)
{
    const Result result = RunWithoutThreads({"--list", _volume});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Holds(result.output, "/a.txt"));
}

}  // namespace
}  // namespace vx
