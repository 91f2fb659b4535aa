// The program started without some of its standard descriptors.
#include "ToolFixture.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class ClosedDescriptors : public ToolTest {
protected:
    ClosedDescriptors()
    {
        for (const char *name : {"a", "b", "c", "d"})
            _folder.WriteFile(std::string("volume/").append(name), std::string(100, name[0]));
    }
    // closing: what the shell is told, "<&-" for standard input.
    Result RunClosing(const std::string &closing, Arguments arguments)
    {
        arguments.insert(arguments.begin(), {"-c", "exec \"$0\" \"$@\" " + closing, kTool});
        ToolRun run("/bin/sh", arguments);
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }
};

TEST_F(ClosedDescriptors, ExportedFilesDoNotTakeTheirPlaces)
{
    const auto expected = FilesBelow(_volume);
    for (const char *closing : {"<&- >&- 2>&-", "<&- 2>&-", ">&- 2>&-", "2>&-", "<&-"}) {
        const std::string destination = _folder.At(std::string("to ").append(closing));
        RunClosing(closing, {"--to", destination, _volume});
        EXPECT_EQ(FilesBelow(destination), expected) << closing;
    }
}

// The first signal is answered with a message while the second file is being written, and another
// one ends the program.
TEST_F(ClosedDescriptors, AMessageIsNotWrittenIntoTheFileThatIsBeingExported)
{
    const std::string stall = _folder.MakeFolder("stall");
    mkfifo((stall + "/stalled").c_str(), 0600);
    ToolRun run("/bin/sh", {"-c", "exec \"$0\" \"$@\" 2>&-", CopyOfTool(kStandIn), "--to",
                            _destination, "stalling", "--unlock", "none", stall});
    close(open((stall + "/stalled").c_str(), O_RDONLY));
    // Two that come at once may count as one.
    for (int i = 0; i < 1000; ++i) {
        run.Send(SIGINT);
        poll(nullptr, 0, 1);
    }
    EXPECT_EQ(run.Wait(), -SIGINT);
    const std::string partial = FilesBelow(_destination).at(".two.bin.partial");
    EXPECT_EQ(partial.size(), size_t(4) << 20);
    EXPECT_EQ(partial.find("Ctrl-C"), std::string::npos);
}

TEST_F(ClosedDescriptors, OnlyOneThatIsNeededFailsTheExport)
{
    EXPECT_EQ(RunClosing("<&-", {"--to", _destination, _volume}).status, 0);
    EXPECT_EQ(RunClosing("2>&-", {"--to", _destination, _volume}).status, 0);
    EXPECT_EQ(RunClosing(">&-", {"--to", _destination, _volume}).status, 1);
}

TEST_F(ClosedDescriptors, AListThatCannotBeWrittenIsAFailure)
{
    const Result result = RunClosing(">&-", {"--list", _volume});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Holds(result.errors, "cannot write the list"));
}

}  // namespace
}  // namespace vx
