// ask-secret NAME QUESTION COUNT: asks for a secret as the programs do and prints it COUNT times, a
// line each, so that the script NAME can pass it to COUNT programs without keeping it.
//
// Exit status: 0; 2 if there is no secret, or it cannot be printed.
#include "ExitStatus.h"
#include "SecretPrompt.h"
#include "StandardDescriptors.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool Print(const vx::TypedSecret &secret)
{
    const size_t length = strlen(secret.Text());
    return write(STDOUT_FILENO, secret.Text(), length) == static_cast<ssize_t>(length) &&
           write(STDOUT_FILENO, "\n", 1) == 1;
}

int FailWith(const char *name, const char *error)
{
    fprintf(stderr, "%s: %s\n", name, error);
    return vx::kExitUsage;
}

}  // namespace

int main(int argc, char **argv)
{
    if (!vx::HoldStandardDescriptors() || argc != 4)
        return FailWith("usage", "ask-secret NAME QUESTION COUNT");
    vx::TypedSecret secret;
    const auto answer = vx::AskOnStandardInput(argv[2], &secret);
    if (answer != vx::SecretPrompt::Answer::kGiven)
        return FailWith(argv[1], vx::SecretPrompt::RefusalText(answer));
    for (int left = atoi(argv[3]); left > 0; --left) {
        if (!Print(secret))
            return FailWith(argv[1], "the secret cannot be printed");
    }
    return vx::kExitSuccess;
}
