#include "SpawnedProcess.h"

#include "EventPipe.h"
#include "Eventually.h"
#include "FewDescriptors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {

class SpawnedProcessTest : public testing::Test {
protected:
    void Start(const std::string &script)
    {
        ASSERT_EQ(_process.Start("/bin/sh", {"-c", script.c_str()}), 0);
    }
    bool AwaitEnd()
    {
        return Eventually([this] { return _process.HasEnded(); });
    }

    vx::EventPipe _events;
    vx::SpawnedProcess _process{_events};
};

TEST_F(SpawnedProcessTest, TheEndAndItsStatusAreSeen)
{
    Start("exit 7");
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "exit status 7");
}

TEST_F(SpawnedProcessTest, ASignalEndsIt)
{
    Start("exec sleep 1000");
    EXPECT_FALSE(_process.HasEnded());
    _process.Signal(SIGTERM);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "signal 15");
}

TEST_F(SpawnedProcessTest, KillEndsOneThatIgnoresBeingAsked)
{
    Start("trap '' TERM; while :; do sleep 1; done");
    _process.Signal(SIGTERM);
    _process.Kill();
    EXPECT_TRUE(_process.HasEnded());
}

TEST_F(SpawnedProcessTest, AMissingProgramIsAnErrorAndHasEnded)
{
    EXPECT_EQ(_process.Start("/no/such/program", {}), ENOENT);
    EXPECT_TRUE(_process.HasEnded());
}

TEST_F(SpawnedProcessTest, TheChildStartsWithTheDefaultForABrokenPipe)
{
    signal(SIGPIPE, SIG_IGN);
    Start("kill -PIPE $$; exit 0");
    signal(SIGPIPE, SIG_DFL);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "signal 13");
}

TEST_F(SpawnedProcessTest, WhatThisProcessIgnoresTheChildIgnoresToo)
{
    const auto former = signal(SIGHUP, SIG_IGN);
    Start("kill -HUP $$; exit 3");
    signal(SIGHUP, former);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "exit status 3");
}

TEST_F(SpawnedProcessTest, TheChildStartsWithNoSignalBlocked)
{
    sigset_t blocked, former;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &former);
    Start("kill -TERM $$; exit 0");
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "signal 15");
}

TEST_F(SpawnedProcessTest, AChildThatIsStartedMeanwhileDoesNotGetAnInheritance)
{
    const vx::UniqueFd own(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const vx::Inheritance inheritance(own.Get());
    const std::string look = "[ -e /dev/fd/" + std::to_string(inheritance.Number()) + " ]";
    Start(look);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "exit status 1");
    vx::SpawnedProcess heir(_events);
    ASSERT_EQ(heir.Start("/bin/sh", {"-c", look.c_str()}, &inheritance), 0);
    ASSERT_TRUE(Eventually([&] { return heir.HasEnded(); }));
    EXPECT_EQ(heir.DescribeEnd(), "exit status 0");
}

TEST_F(SpawnedProcessTest, TheChildHasNoDescriptorBesidesItsInheritanceAndTheStandardOnes)
{
    const vx::UniqueFd before(open("/dev/null", O_RDONLY));
    const vx::Inheritance inheritance(before.Get());
    const vx::UniqueFd after(open("/dev/null", O_RDONLY));
    const auto at = [](int number) { return " [ -e /dev/fd/" + std::to_string(number) + " ]"; };
    ASSERT_LT(before.Get(), inheritance.Number());
    ASSERT_LT(inheritance.Number(), after.Get());
    const std::string look = at(0) + " &&" + at(1) + " &&" + at(2) + " &&" +
                             at(inheritance.Number()) + " && !" + at(before.Get()) + " && !" +
                             at(after.Get());
    ASSERT_EQ(_process.Start("/bin/sh", {"-c", look.c_str()}, &inheritance), 0);
    ASSERT_TRUE(AwaitEnd());
    EXPECT_EQ(_process.DescribeEnd(), "exit status 0");
}

TEST_F(SpawnedProcessTest, WithoutANumberForAnInheritanceNothingIsStarted)
{
    const vx::UniqueFd own(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::optional<vx::FewDescriptors> few(STDERR_FILENO + 1);
    const vx::Inheritance inheritance(own.Get());
    few.reset();
    ASSERT_EQ(inheritance.Number(), -1);
    EXPECT_EQ(_process.Start("/bin/sh", {"-c", "exit 0"}, &inheritance), EMFILE);
    EXPECT_TRUE(_process.HasEnded());
}

}  // namespace
