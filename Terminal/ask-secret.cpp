// ask-secret NAME QUESTION COUNT: asks for a secret as the programs do and prints it COUNT times, a
// line each, so that the script NAME can pass it to COUNT programs without keeping it.
//
// Exit status: 0; 2 for wrong use, or if there is no secret, or it cannot be printed.
#include "ExitStatus.h"
#include "SecretPrompt.h"
#include "StandardDescriptors.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr char kUsageText[] = "Usage: ask-secret NAME QUESTION COUNT\n";
constexpr char kHelpText[] = R"(
Asks QUESTION on the terminal, without echo, or reads one line from standard input, and
prints it COUNT times, a line each. Errors begin with NAME.

  --help, --version

Exit status
  0    the secret was printed
  2    wrong use, no secret was given, or it cannot be printed
  128+N  stopped by signal N
)";
constexpr char kVersionText[] = "ask-secret " VX_VERSION "\n";

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

int FailUsage()
{
    FailWith("ask-secret", "three arguments are needed");
    fputs(kUsageText, stderr);
    return vx::kExitUsage;
}

// False: the argument asks for neither.
bool PrintAbout(const std::string &argument)
{
    if (argument == "--version")
        return fputs(kVersionText, stdout), true;
    if (argument != "--help" && argument != "-h")
        return false;
    fputs(kUsageText, stdout);
    fputs(kHelpText, stdout);
    return true;
}

}  // namespace

int main(int argc, char **argv)
{
    if (!vx::HoldStandardDescriptors())
        return vx::kExitUsage;
    if (argc == 2 && PrintAbout(argv[1]))
        return vx::kExitSuccess;
    if (argc != 4)
        return FailUsage();
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
