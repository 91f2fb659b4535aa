// Where no pipe can be made to wait for signals, nothing is asked, and the reason is given.
#include "Confirmation.h"
#include "EventPipe.h"
#include "ExitStatus.h"
#include "FewDescriptors.h"
#include "SecretPrompt.h"
#include "SecretReader.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(NoDescriptor, NoSecretIsReadAndTheReasonIsGiven)
{
    const FewDescriptors none;
    TypedSecret secret;
    std::string error;
    EXPECT_EQ(ReadSecret({}, "disk.img", &secret, &error), kExitNotOpened);
    EXPECT_EQ(error, EventPipe().Error());
    EXPECT_EQ(AskOnStandardInput("", &secret), SecretPrompt::Answer::kNotAsked);
}

TEST(NoDescriptor, AQuestionIsAnsweredWithNo)
{
    const FewDescriptors none;
    int signal = -1;
    EXPECT_EQ(Confirm("?", &signal), Confirmation::kNo);
    EXPECT_EQ(signal, 0);
}

}  // namespace
}  // namespace vx
