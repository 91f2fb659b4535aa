#include "SecretPrompt.h"

#include "EventPipe.h"
#include "Eventually.h"
#include "PipeFolder.h"
#include "Terminal.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <future>
#include <poll.h>
#include <signal.h>

namespace {

class SecretPromptTest : public testing::Test {
protected:
    std::future<std::optional<std::string>> Ask()
    {
        return std::async(std::launch::async, [this] { return _prompt.Ask("Secret: "); });
    }

    bool HasEvent() const
    {
        struct pollfd wanted = {_events.GetDescriptor(), POLLIN, 0};
        return poll(&wanted, 1, 0) > 0;
    }

    vx::EventPipe _events;
    Terminal _terminal;
    vx::SecretPrompt _prompt{_terminal.Slave(), _events};
};

TEST_F(SecretPromptTest, WhatIsTypedIsTheAnswerAndIsNotShown)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    EXPECT_FALSE(_terminal.Echoes());
    _terminal.Type("open sesame\n");
    EXPECT_EQ(asked.get(), "open sesame");
    EXPECT_EQ(_terminal.AwaitShown("\n").find("sesame"), std::string::npos);
    EXPECT_TRUE(_terminal.Echoes());
}

TEST_F(SecretPromptTest, AnEmptyLineIsAnEmptySecret)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    _terminal.Type("\n");
    EXPECT_EQ(asked.get(), "");
}

TEST_F(SecretPromptTest, TheEndOfInputEndsTheQuestion)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    _terminal.Type("half\x04\x04");
    EXPECT_EQ(asked.get(), "half");
    EXPECT_TRUE(_terminal.Echoes());
}

TEST_F(SecretPromptTest, ASignalEndsTheQuestionAndTheTerminalIsPutBack)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    _terminal.Type("half");
    _events.Post(SIGINT);
    EXPECT_EQ(asked.get(), std::nullopt);
    EXPECT_EQ(_prompt.InterruptingSignal(), SIGINT);
    EXPECT_TRUE(_terminal.Echoes());
}

TEST_F(SecretPromptTest, TheEndOfAnEarlierChildDoesNotEndTheQuestion)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    _events.Post(SIGCHLD);
    ASSERT_TRUE(Eventually([this] { return !HasEvent(); }));
    _terminal.Type("open sesame\n");
    EXPECT_EQ(asked.get(), "open sesame");
    EXPECT_EQ(_prompt.InterruptingSignal(), 0);
}

TEST_F(SecretPromptTest, WhatIsNotATerminalAnswersNothing)
{
    const vx::UniqueFd file(open("/dev/null", O_RDWR | O_CLOEXEC));
    vx::SecretPrompt prompt(file.Get(), _events);
    EXPECT_EQ(prompt.Ask("Secret: "), std::nullopt);
    EXPECT_EQ(prompt.InterruptingSignal(), 0);
}

}  // namespace
