// What is bound to the main thread stops a debug build that calls it on another one. In a release
// build the same calls are made and nothing stops.
#include "EventPipe.h"
#include "OpeningInterruption.h"
#include "SecretPrompt.h"
#include "SignalWatch.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <thread>

namespace {

class MainThread : public testing::Test {
protected:
    MainThread()
    {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        vx::CheckThreads();
    }
    ~MainThread() override { vx::mainThread = {}; }

    static void OnAnotherThread(const std::function<void()> &job) { std::thread(job).join(); }
};

TEST_F(MainThread, EventsAreAwaitedOnOneThreadOnlyWhicheverItIs)
{
    vx::EventPipe events;
    OnAnotherThread([&] { events.Post(SIGINT); });
    EXPECT_EQ(events.Await(std::nullopt), SIGINT);
    OnAnotherThread([&] { events.Post(SIGTERM); });
    EXPECT_DEBUG_DEATH(OnAnotherThread([&] { events.Await(std::nullopt); }), "Await.*IsKept");
    vx::EventPipe others;
    others.Post(SIGHUP);
    OnAnotherThread([&] { EXPECT_EQ(others.Await(std::nullopt), SIGHUP); });
}

TEST_F(MainThread, SignalsAreWatchedThereOnly)
{
    vx::EventPipe events;
    EXPECT_DEBUG_DEATH(OnAnotherThread([&] { const vx::SignalWatch watch(events); }),
                       "SignalWatch.*IsMainThread");
}

TEST_F(MainThread, AnOpeningIsInterruptedThereOnly)
{
    EXPECT_DEBUG_DEATH(OnAnotherThread([] { const vx::OpeningInterruption none(nullptr); }),
                       "OpeningInterruption.*IsMainThread");
}

TEST_F(MainThread, ASecretIsAskedForThereOnly)
{
    const vx::UniqueFd input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    vx::EventPipe events;
    vx::SecretPrompt prompt(input.Get(), events);
    vx::TypedSecret secret;
    EXPECT_DEBUG_DEATH(OnAnotherThread([&] { prompt.Ask("", &secret); }), "Ask.*IsMainThread");
}

}  // namespace
