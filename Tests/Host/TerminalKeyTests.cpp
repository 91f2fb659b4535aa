// volume-host asks for a secret on a terminal.
#include "EndToEndTest.h"
#include "Terminal.h"

#include <sys/ioctl.h>
#include <sys/wait.h>

namespace {

// volume-host as the leader of a terminal.
class TerminalTest : public EndToEndTest {
protected:
    void StartHost()
    {
        const std::string mode = "opening:" + _file;
        const std::string slave = _terminal.SlavePath();
        _pid = fork();
        ASSERT_NE(_pid, -1);
        if (_pid != 0)
            return;
        setsid();
        const int terminal = open(slave.c_str(), O_RDWR);
        ioctl(terminal, TIOCSCTTY, 0);
        dup2(terminal, STDERR_FILENO);
        execl(VOLUME_HOST, VOLUME_HOST, "--explorer", FAKE_EXPLORER, mode.c_str(), "password", "-",
              nullptr);
        _exit(127);
    }

    int AwaitEnd()
    {
        int status = 0;
        Eventually([&] { return waitpid(_pid, &status, WNOHANG) == _pid; });
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    Terminal _terminal;
    pid_t _pid = -1;
};

TEST_F(TerminalTest, AnEmptySecretIsRefusedAndStartsNothing)
{
    StartHost();
    _terminal.AwaitShown("Secret (password) for ");
    _terminal.Type("\n");
    EXPECT_EQ(AwaitEnd(), 2);
    EXPECT_TRUE(_terminal.Echoes());
    EXPECT_NE(_terminal.AwaitShown("was given").find("volume-host: no secret was given"),
              std::string::npos);
    EXPECT_FALSE(PipeFolder::Exists(_file));
    EXPECT_TRUE(NothingIsThere());
}

TEST_F(TerminalTest, ASecretGivenAsADashIsAskedForWithoutEcho)
{
    StartHost();
    _terminal.AwaitShown("Secret (password) for ");
    ASSERT_TRUE(Eventually([this] { return !_terminal.Echoes(); }));
    _terminal.Type("open sesame\n");
    EXPECT_EQ(Reported(), "opening:" + _file + "\npassword\nopen sesame\n");
    EXPECT_EQ(AwaitEnd(), 1);
    EXPECT_TRUE(_terminal.Echoes());
    EXPECT_EQ(_terminal.AwaitShown("\n").find("sesame"), std::string::npos);
}

struct Key {
    const char *text;
    int signal;
};

class TerminalKeyTest : public TerminalTest, public testing::WithParamInterface<Key> {};

TEST_P(TerminalKeyTest, AKeyThatInterruptsTheQuestionPutsTheTerminalBackAndStartsNothing)
{
    StartHost();
    _terminal.AwaitShown("Secret (password) for ");
    _terminal.Type(std::string("half") + GetParam().text);
    EXPECT_EQ(AwaitEnd(), 128 + GetParam().signal);
    EXPECT_TRUE(_terminal.Echoes());
    EXPECT_FALSE(PipeFolder::Exists(_file));
    EXPECT_TRUE(NothingIsThere());
}

INSTANTIATE_TEST_SUITE_P(Keys, TerminalKeyTest,
                         testing::Values(Key{"\x03", SIGINT}, Key{"\x1c", SIGQUIT}),
                         [](const auto &key) {
                             return key.param.signal == SIGINT ? "CtrlC" : "CtrlBackslash";
                         });

}  // namespace
