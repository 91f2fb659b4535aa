#include "SecretPrompt.h"

#include "EventPipe.h"
#include "PipeFolder.h"
#include "Terminal.h"
#include "UniqueFd.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <future>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using Answer = vx::SecretPrompt::Answer;

class SecretPromptTest : public testing::Test {
protected:
    std::future<Answer> Ask()
    {
        return std::async(std::launch::async, [this] { return _prompt.Ask("Secret: ", &_secret); });
    }

    // The answer to what is typed, or where it is refused "".
    std::string AnswerTo(const std::string &typed, Answer expected)
    {
        auto asked = Ask();
        _terminal.AwaitShown("Secret: ");
        _terminal.Type(typed);
        EXPECT_EQ(asked.get(), expected);
        EXPECT_TRUE(_terminal.Echoes());
        return _secret.Text();
    }

    // The answer that a pipe gives, which shows no question.
    std::string AnswerFromPipe(const std::string &bytes, Answer expected)
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const vx::UniqueFd reading(ends[0]);
        vx::UniqueFd writing(ends[1]);
        EXPECT_EQ(write(writing.Get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
        writing.Close();
        EXPECT_EQ(vx::SecretPrompt(reading.Get(), _events).Ask("Secret: ", &_secret), expected);
        char rest[64];
        const ssize_t count = read(reading.Get(), rest, sizeof(rest));
        _rest.assign(rest, count > 0 ? static_cast<size_t>(count) : 0);
        return _secret.Text();
    }

    vx::EventPipe _events;
    Terminal _terminal;
    vx::TypedSecret _secret;
    vx::SecretPrompt _prompt{_terminal.Slave(), _events};
    std::string _rest;  // in the pipe, after the answer
};

TEST_F(SecretPromptTest, WhatIsTypedIsTheAnswerAndIsNotShown)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    EXPECT_FALSE(_terminal.Echoes());
    _terminal.Type("open sesame\n");
    EXPECT_EQ(asked.get(), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open sesame");
    EXPECT_EQ(_terminal.AwaitShown("\n").find("sesame"), std::string::npos);
    EXPECT_TRUE(_terminal.Echoes());
}

TEST_F(SecretPromptTest, AnEmptyLineIsRefused)
{
    EXPECT_EQ(AnswerTo("\n", Answer::kNone), "");
    EXPECT_STREQ(vx::SecretPrompt::RefusalText(Answer::kNone), "no secret was given");
}

TEST_F(SecretPromptTest, TheEndOfInputEndsTheQuestion)
{
    EXPECT_EQ(AnswerTo("half\x04\x04", Answer::kGiven), "half");
}

TEST_F(SecretPromptTest, TheEndOfInputBeforeAnythingWasTypedIsRefused)
{
    EXPECT_EQ(AnswerTo("\x04", Answer::kNone), "");
}

TEST_F(SecretPromptTest, ASignalEndsTheQuestionAndTheTerminalIsPutBack)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    _terminal.Type("half");
    _events.Post(SIGINT);
    EXPECT_EQ(asked.get(), Answer::kInterrupted);
    EXPECT_STREQ(_secret.Text(), "");
    EXPECT_EQ(_prompt.InterruptingSignal(), SIGINT);
    EXPECT_TRUE(_terminal.Echoes());
}

TEST_F(SecretPromptTest, ASuspensionIsIgnoredWhileTheTerminalIsSilent)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    raise(SIGTSTP);
    _terminal.Type("open sesame\n");
    EXPECT_EQ(asked.get(), Answer::kGiven);
    struct sigaction action;
    sigaction(SIGTSTP, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST_F(SecretPromptTest, TheEndOfAnEarlierChildDoesNotEndTheQuestion)
{
    auto asked = Ask();
    _terminal.AwaitShown("Secret: ");
    // Events are read before what is typed, so this one is seen even where both arrive at once.
    _events.Post(SIGCHLD);
    _terminal.Type("open sesame\n");
    EXPECT_EQ(asked.get(), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open sesame");
    EXPECT_EQ(_prompt.InterruptingSignal(), 0);
}

TEST_F(SecretPromptTest, WhatIsNotATerminalAnswersNothing)
{
    const vx::UniqueFd file(open("/dev/null", O_RDWR | O_CLOEXEC));
    vx::SecretPrompt prompt(file.Get(), _events);
    EXPECT_EQ(prompt.Ask("Secret: ", &_secret), Answer::kNone);
    EXPECT_STREQ(_secret.Text(), "");
    EXPECT_EQ(prompt.InterruptingSignal(), 0);
}

TEST_F(SecretPromptTest, APipeAnswersWithOneLineAndKeepsTheRest)
{
    EXPECT_EQ(AnswerFromPipe(" open sesame\r\nmore", Answer::kGiven), " open sesame");
    EXPECT_EQ(_rest, "more");
    EXPECT_EQ(AnswerFromPipe("without an end", Answer::kGiven), "without an end");
    EXPECT_EQ(AnswerFromPipe("\r\nmore", Answer::kNone), "");
    EXPECT_EQ(_rest, "more");
}

TEST_F(SecretPromptTest, ALineThatIsTooLongIsRefusedAsAWhole)
{
    const std::string longest(vx::TypedSecret::kMostBytes, 'x');
    EXPECT_EQ(AnswerFromPipe(longest + "\n", Answer::kGiven), longest);
    EXPECT_EQ(AnswerFromPipe(longest + "y\nmore", Answer::kTooLong), "");
    EXPECT_EQ(_rest, "more");
}

TEST_F(SecretPromptTest, AnEarlierAnswerIsGoneWhenTheNextOneIsRefused)
{
    AnswerFromPipe("open sesame\n", Answer::kGiven);
    EXPECT_EQ(AnswerFromPipe("", Answer::kNone), "");
}

TEST_F(SecretPromptTest, ADescriptorOfALargeNumberIsReadLikeAnyOther)
{
    constexpr int kLarge = 1500;
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_cur <= kLarge) {
        limit.rlim_cur = kLarge + 1;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const vx::UniqueFd small(ends[0]);
    const vx::UniqueFd reading(dup2(ends[0], kLarge));
    const vx::UniqueFd writing(ends[1]);
    ASSERT_EQ(reading.Get(), kLarge);
    ASSERT_EQ(write(writing.Get(), "open\n", 5), 5);
    EXPECT_EQ(vx::SecretPrompt(reading.Get(), _events).Ask("Secret: ", &_secret), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open");
}

TEST_F(SecretPromptTest, AZeroByteIsRefused)
{
    AnswerFromPipe(std::string("\0\n", 2), Answer::kZeroByte);
    AnswerFromPipe(std::string("open\0sesame\n", 12), Answer::kZeroByte);
    EXPECT_TRUE(_secret.IsEmpty());
}

}  // namespace
