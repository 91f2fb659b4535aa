#include "ToolFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kMiB = 1 << 20;

// An export whose second file stalls in its second chunk. The stall has two FIFOs: opening one
// waits until the volume has come there, opening the other lets it go on.
class Stop : public ToolTest {
protected:
    Stop()
    {
        _stall = _folder.MakeFolder("stall");
        mkfifo((_stall + "/stalled").c_str(), 0600);
        mkfifo((_stall + "/release").c_str(), 0600);
    }

    Arguments StallingExport() const
    {
        return {"--to", _destination, "stalling", "--unlock", "none", _stall};
    }
    void AwaitStall() const { close(open((_stall + "/stalled").c_str(), O_RDONLY)); }
    void Release() const { close(open((_stall + "/release").c_str(), O_WRONLY)); }

    int StopBy(int signal, ToolRun *run) const
    {
        AwaitStall();
        run->Send(signal);
        run->AwaitText("Ctrl-C again ends at once");
        Release();
        return run->Wait();
    }

    std::string _stall;
};

TEST_F(Stop, CtrlCLeavesWhatIsCompleteAndSaysSo)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    EXPECT_EQ(StopBy(SIGINT, &run), 128 + SIGINT);
    const auto files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 1u);
    EXPECT_EQ(files.at("one.bin").size(), 5 * kMiB);
    EXPECT_TRUE(Holds(run.Output(), "Exported 1 file, 5.0 MiB (5,242,880 bytes), to "));
    EXPECT_TRUE(Holds(run.Output(), "Stopped before the end; complete files were kept.\n"));
}

TEST_F(Stop, ThePartialFileIsNamedAndNotKeptAndTheRestCounted)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    StopBy(SIGINT, &run);
    EXPECT_TRUE(Holds(run.Output(),
                      "Not kept, since it is incomplete: /two.bin: 8,388,608 of "
                      "12,582,912 bytes had been copied\nNot copied: 1 file (--verbose "
                      "names it)\n"));
    EXPECT_TRUE(Lacks(run.Output(), "Failed"));
}

TEST_F(Stop, WhatStoodInThePlaceOfThePartialFileAndOfTheRestStays)
{
    for (const char *name : {"one.bin", "two.bin", "three.bin"})
        _folder.WriteFile(std::string("destination/") + name, "old");
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    StopBy(SIGINT, &run);
    const auto files = FilesBelow(_destination);
    EXPECT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("one.bin").size(), 5 * kMiB);
    EXPECT_EQ(files.at("two.bin"), "old");
    EXPECT_EQ(files.at("three.bin"), "old");
}

TEST_F(Stop, TheOtherEndingSignalsStopInTheSameWay)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    EXPECT_EQ(StopBy(SIGTERM, &run), 128 + SIGTERM);
    EXPECT_TRUE(Holds(run.Output(), "Not kept, since it is incomplete: /two.bin"));
}

TEST_F(Stop, ASecondCtrlCEndsAtOnce)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    AwaitStall();
    run.Send(SIGINT);
    run.AwaitText("Ctrl-C again ends at once");
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), -SIGINT);
    EXPECT_EQ(run.Output(), "");
}

TEST_F(Stop, WithoutASignalTheStalledExportCompletes)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    AwaitStall();
    Release();
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_EQ(FilesBelow(_destination).size(), 3u);
}

TEST_F(Stop, AStoppedExportIsNotCompared)
{
    Arguments arguments = StallingExport();
    arguments.push_back("--verify");
    ToolRun run(CopyOfTool(kStandIn), arguments);
    StopBy(SIGINT, &run);
    EXPECT_TRUE(Lacks(run.Output(), "compared"));
}

TEST_F(Stop, OffATerminalTheNoticeOfTheStopHasNoBlankLineBeforeIt)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    StopBy(SIGINT, &run);
    EXPECT_TRUE(Holds(run.Errors(), "\nStopping after the current piece"));
    EXPECT_TRUE(Lacks(run.Errors(), "\n\n"));
}

TEST_F(Stop, OnATerminalCtrlCIsTyped)
{
    ToolRun::Settings terminal;
    terminal.onTerminal = true;
    ToolRun run(CopyOfTool(kStandIn), StallingExport(), terminal);
    AwaitStall();
    run.Type("\x03");
    run.AwaitText("Ctrl-C again ends at once");
    Release();
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    EXPECT_TRUE(Holds(run.Output(), "Not kept, since it is incomplete: /two.bin"));
}

class Progress : public Stop {
protected:
    std::string OnTerminal(unsigned short columns)
    {
        ToolRun::Settings terminal;
        terminal.onTerminal = true;
        terminal.columns = columns;
        ToolRun run(CopyOfTool(kStandIn), StallingExport(), terminal);
        AwaitStall();
        run.AwaitText("Copying");
        Release();
        EXPECT_EQ(run.Wait(), 0);
        return run.Output();
    }
};

TEST_F(Progress, OnATerminalOneLineIsDrawnOverAndOver)
{
    const std::string output = OnTerminal(80);
    EXPECT_TRUE(Holds(output, "\r\x1b[KCopying   0 %  0.0 of 17.0 MiB  /one.bin"));
    // Nothing of it stays.
    EXPECT_TRUE(Holds(output, "\r\x1b[KExported 3 files"));
}

TEST_F(Progress, TheLineIsClippedToTheTerminalsWidth)
{
    const std::string output = OnTerminal(40);
    EXPECT_TRUE(Holds(output, "\r\x1b[KCopying   0 %  0.0 of 17.0 MiB  \u2026ne.bin\r"));
}

TEST_F(Progress, ElsewhereThereAreNoCarriageReturns)
{
    ToolRun run(CopyOfTool(kStandIn), StallingExport());
    AwaitStall();
    Release();
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_TRUE(Lacks(run.Errors() + run.Output(), "\r"));
    // Where it takes more than five seconds, lines of progress follow.
    EXPECT_EQ(run.Errors().rfind("Exporting 3 files, 17.0 MiB, to " + _destination + "\n", 0), 0u);
}

}  // namespace
}  // namespace vx
