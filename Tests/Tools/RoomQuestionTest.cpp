// An export that does not fit asks on a terminal.
#include "ToolFixture.h"

#include <csignal>

namespace vx {
namespace {

class RoomQuestion : public ToolTest {
protected:
    // On a terminal, with room that seems to be too little for three files of 5 MiB.
    void Start(const Arguments &more = {})
    {
        // The leak checker of a sanitizer build looks for itself in other places.
        Arguments arguments = {std::string("LD_PRELOAD=") + VX_FULL_DISK,
                               "VX_FREE_BYTES=8388608",
                               "ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0",
                               CopyOfTool(kStandIn),
                               "--to",
                               _destination,
                               "large"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolRun::Settings terminal;
        terminal.onTerminal = true;
        terminal.columns = 400;
        _run = std::make_unique<ToolRun>("/usr/bin/env", arguments, terminal);
    }

    int EndAfter(const std::string &typed)
    {
        _run->AwaitText("Export what fits? [y/N] ");
        _run->Type(typed);
        return _run->Wait();
    }

    bool IsThere() const { return access(_destination.c_str(), F_OK) == 0; }

    std::unique_ptr<ToolRun> _run;
};

TEST_F(RoomQuestion, NamesWhatIsNeededAndWhatIsFree)
{
    Start();
    EXPECT_EQ(EndAfter("\n"), 2);
    EXPECT_TRUE(
        Holds(_run->Output(), "volume-export: not enough room on the disk of " + _destination +
                                  ": the export needs 15.0 MiB (15,728,640 bytes), and 8.0 "
                                  "MiB (8,388,608 bytes) are free. Export what fits? [y/N] "));
}

TEST_F(RoomQuestion, OnlyAYesExports)
{
    const std::string parent = _destination;
    for (const char *typed : {"y\n", "YES\n", " yes \n"}) {
        _destination = parent + "/" + typed[0] + typed[1];
        Start();
        EXPECT_EQ(EndAfter(typed), 0) << typed;
        EXPECT_EQ(FilesBelow(_destination).size(), 3u);
    }
}

TEST_F(RoomQuestion, AnyOtherAnswerExportsNothingAndLeavesNoFolder)
{
    _destination += "/new";
    for (const char *typed :
         {"\n", "n\n", "yess\n", "y n\n", "yyyyyyyyyyyyyyyyyyyyyyyy\n", "\x04"}) {
        Start();
        EXPECT_EQ(EndAfter(typed), 2) << typed;
        EXPECT_TRUE(Holds(_run->Output(), " are free; nothing was exported\r\n"));
        EXPECT_FALSE(IsThere());
    }
}

TEST_F(RoomQuestion, CtrlCEndsTheProgramAndLeavesNoFolder)
{
    _destination += "/new";
    Start();
    EXPECT_EQ(EndAfter("\x03"), -SIGINT);
    EXPECT_FALSE(IsThere());
}

TEST_F(RoomQuestion, IsNotAskedWithoutTheCheck)
{
    Start({"--no-space-check"});
    EXPECT_EQ(_run->Wait(), 0);
    EXPECT_TRUE(Lacks(_run->Output(), "Export what fits?"));
}

}  // namespace
}  // namespace vx
