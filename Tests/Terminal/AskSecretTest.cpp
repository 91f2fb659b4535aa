// ask-secret as scripts use it.
#include "ChildProcess.h"

#include <gtest/gtest.h>

namespace {

// What a shell prints that runs the command with ask-secret as $0.
std::string ShellOutput(const std::string &command)
{
    ChildProcess shell("/bin/sh", {"-c", command, ASK_SECRET});
    EXPECT_TRUE(shell.AwaitEnd().has_value());
    return shell.Output();
}

TEST(AskSecret, TheLineIsPrintedOnceForEachProgram)
{
    EXPECT_EQ(ShellOutput("printf ' open sesame\\nrest\\n' | { \"$0\" me 'Secret: ' 2; cat; }"),
              " open sesame\n open sesame\nrest\n");
}

TEST(AskSecret, WithoutASecretNothingIsPrintedAndTheStatusIs2)
{
    EXPECT_EQ(ShellOutput("echo | \"$0\" me 'Secret: ' 2; echo $?"),
              "me: no secret was given\n2\n");
}

TEST(AskSecret, HelpAndVersionAskNothing)
{
    const std::string usage = "Usage: ask-secret NAME QUESTION COUNT\n";
    EXPECT_EQ(ShellOutput("\"$0\" --help </dev/null && echo done").rfind(usage, 0), 0u);
    EXPECT_EQ(ShellOutput("\"$0\" -h"), ShellOutput("\"$0\" --help"));
    EXPECT_EQ(ShellOutput("\"$0\" --version"), "ask-secret " VX_VERSION "\n");
    EXPECT_EQ(ShellOutput("\"$0\" --nonsense; echo $?"),
              "ask-secret: three arguments are needed\n" + usage + "2\n");
}

}  // namespace
