// A signal while a volume is opened, which can take long.
#include "ToolFixture.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

class InterruptedOpening : public ToolTest {
protected:
    InterruptedOpening() { mkfifo((_stall + "/opening").c_str(), 0600); }

    // The end of a program that a signal reaches while it opens a volume.
    int EndOf(const std::string &library, const std::string &kind, int signal)
    {
        ToolRun run(CopyOfTool(library), {"--list", "slow", "--unlock", kind, _stall});
        AwaitOpening();
        const auto sent = steady_clock::now();
        run.Send(signal);
        const int end = run.Wait();
        _took = steady_clock::now() - sent;
        _printed = run.Output() + run.Errors();
        return end;
    }

    void AwaitOpening() const { close(open((_stall + "/opening").c_str(), O_RDONLY)); }
    bool WasCancelled() const { return access((_stall + "/cancelled").c_str(), F_OK) == 0; }

    const std::string _stall = _folder.MakeFolder("stall");
    steady_clock::duration _took{};
    std::string _printed;
};

TEST_F(InterruptedOpening, CtrlCCancelsItAndEndsTheProgramAsASignalDoes)
{
    EXPECT_EQ(EndOf(VX_CANCELLABLE, "password", SIGINT), -SIGINT);
    EXPECT_TRUE(WasCancelled());
    EXPECT_LT(_took, seconds(20));
    EXPECT_EQ(_printed, "");
}

TEST_F(InterruptedOpening, TheOtherEndingSignalsCancelItToo)
{
    for (const int signal : {SIGTERM, SIGHUP}) {
        unlink((_stall + "/cancelled").c_str());
        EXPECT_EQ(EndOf(VX_CANCELLABLE, "password", signal), -signal);
        EXPECT_TRUE(WasCancelled());
    }
}

TEST_F(InterruptedOpening, ALibraryThatDoesNotReactIsNotWaitedFor)
{
    EXPECT_EQ(EndOf(VX_CANCELLABLE, "deaf", SIGINT), -SIGINT);
    EXPECT_FALSE(WasCancelled());
    EXPECT_LT(_took, seconds(20));
}

TEST_F(InterruptedOpening, ASignalThatIsIgnoredStaysIgnored)
{
    const std::string tool = CopyOfTool(VX_CANCELLABLE);
    ToolRun run("/bin/sh", {"-c", "trap '' HUP; exec \"$@\"", "sh", tool, "--list", "slow",
                            "--unlock", "password", _stall});
    AwaitOpening();
    run.Send(SIGHUP);
    run.Send(SIGTERM);
    EXPECT_EQ(run.Wait(), -SIGTERM);
}

}  // namespace
}  // namespace vx
