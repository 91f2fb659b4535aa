#include "Confirmation.h"
#include "EventPipe.h"
#include "SecretReader.h"
#include "SignalWatch.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

vx::Deadline Soon()
{
    return Clock::now() + std::chrono::seconds(20);
}

TEST(EventPipeTest, EventsComeInTheOrderInWhichTheyWerePosted)
{
    vx::EventPipe events;
    events.Post(SIGTERM);
    events.Post(vx::EventPipe::kQuitNotice);
    EXPECT_EQ(events.Await(Soon()), SIGTERM);
    EXPECT_EQ(events.Await(Soon()), vx::EventPipe::kQuitNotice);
}

TEST(EventPipeTest, WithoutAnEventTheWaitEndsAtTheDeadline)
{
    vx::EventPipe events;
    const auto begin = Clock::now();
    EXPECT_EQ(events.Await(begin + std::chrono::milliseconds(30)), std::nullopt);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(30));
}

TEST(EventPipeTest, ADeadlineThatHasPassedStillGivesAnEventThatIsThere)
{
    vx::EventPipe events;
    events.Post(SIGHUP);
    EXPECT_EQ(events.Await(Clock::now() - std::chrono::hours(1)), SIGHUP);
}

TEST(EventPipeTest, AnEventOfAnotherThreadEndsTheWait)
{
    vx::EventPipe events;
    std::thread poster([&] { events.Post(SIGINT); });
    EXPECT_EQ(events.Await(std::nullopt), SIGINT);
    poster.join();
}

TEST(EventPipeTest, PostingNeverBlocks)
{
    vx::EventPipe events;
    for (int i = 0; i < 200000; ++i)
        events.Post(SIGCHLD);
    EXPECT_EQ(events.Await(Soon()), SIGCHLD);
}

// As long as it lives no descriptor can be opened.
class NoDescriptors {
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &_former);
        const rlimit none = {0, _former.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &_former); }
    NoDescriptors(const NoDescriptors &) = delete;
    NoDescriptors &operator=(const NoDescriptors &) = delete;

private:
    rlimit _former = {};
};

TEST(EventPipeTest, WithoutDescriptorsThereIsAnErrorInOneLine)
{
    EXPECT_EQ(vx::EventPipe().Error(), "");
    const NoDescriptors none;
    EXPECT_EQ(vx::EventPipe().Error(),
              "no pipe can be made to wait for signals: Too many open files");
}

TEST(EventPipeTest, WithoutDescriptorsNothingIsAskedAndTheReasonIsGiven)
{
    const NoDescriptors none;
    vx::TypedSecret secret;
    std::string error;
    EXPECT_FALSE(vx::ReadSecret({}, "disk.img", &secret, &error));
    EXPECT_EQ(error, vx::EventPipe().Error());
    EXPECT_EQ(vx::AskOnStandardInput("", &secret), vx::SecretPrompt::Answer::kNotAsked);
    int signal = -1;
    EXPECT_EQ(vx::Confirm("?", &signal), vx::Confirmation::kNo);
    EXPECT_EQ(signal, 0);
}

TEST(SignalWatchTest, TheSignalsThatEndAProgramBecomeEvents)
{
    vx::EventPipe events;
    const vx::SignalWatch watch(events);
    for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGCHLD}) {
        raise(signal);
        EXPECT_EQ(events.Await(Soon()), signal);
    }
}

TEST(SignalWatchTest, ABrokenPipeEndsNothing)
{
    vx::EventPipe events;
    const vx::SignalWatch watch(events);
    raise(SIGPIPE);
    EXPECT_EQ(events.Await(Clock::now()), std::nullopt);
}

TEST(SignalWatchTest, AnIgnoredSignalStaysIgnored)
{
    signal(SIGHUP, SIG_IGN);
    {
        vx::EventPipe events;
        const vx::SignalWatch watch(events);
        raise(SIGHUP);
        EXPECT_EQ(events.Await(Clock::now()), std::nullopt);
    }
    signal(SIGHUP, SIG_DFL);
}

TEST(SignalWatchTest, TheFormerHandlingComesBack)
{
    {
        vx::EventPipe events;
        const vx::SignalWatch watch(events);
    }
    for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE}) {
        struct sigaction action;
        sigaction(signal, nullptr, &action);
        EXPECT_EQ(action.sa_handler, SIG_DFL) << signal;
    }
}

}  // namespace
