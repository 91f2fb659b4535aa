#include "EventPipe.h"
#include "SignalWatch.h"

#include "FewDescriptors.h"

#include <gtest/gtest.h>

#include <csignal>
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

TEST(EventPipeTest, WithoutDescriptorsThereIsAnErrorInOneLine)
{
    EXPECT_EQ(vx::EventPipe().Error(), "");
    const vx::FewDescriptors none;
    EXPECT_EQ(vx::EventPipe().Error(),
              "no pipe can be made to wait for signals: Too many open files");
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
