// volume-host: the host application of the explorer, on the command line.
#include "CommandLine.h"
#include "ExitStatus.h"
#include "HostSession.h"
#include "LinkFifos.h"
#include "ProgramFolder.h"
#include "SecretPrompt.h"
#include "SignalWatch.h"
#include "StandardDescriptors.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"
#include "UsageText.h"

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <vector>

namespace {

const vx::LinkPaths kPaths = {vx::kExplorerToHost, vx::kHostToExplorer};

// Returns 0 or the exit status.
int AskForSecret(vx::EventPipe &events, const vx::HostOptions &options, vx::TypedSecret *secret)
{
    const vx::UniqueFd terminal(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal) {
        fputs("volume-host: there is no terminal to ask for the secret on\n", stderr);
        return vx::kExitNotStarted;
    }
    vx::SecretPrompt prompt(terminal.Get(), events);
    const auto answer = prompt.Ask(vx::SecretQuestion(options.kind, options.volume), secret);
    if (answer == vx::SecretPrompt::Answer::kInterrupted)
        return vx::kExitSignalBase + prompt.InterruptingSignal();
    if (answer == vx::SecretPrompt::Answer::kGiven)
        return 0;
    fprintf(stderr, "volume-host: %s\n", vx::SecretPrompt::RefusalText(answer));
    return vx::kExitUsage;
}

// Overwrites the secret as soon as the explorer has it.
int RunHost(vx::HostOptions &options)
{
    vx::EventPipe events;
    const vx::SignalWatch watch(events);
    vx::TypedSecret asked;
    const int status = options.asksSecret ? AskForSecret(events, options, &asked) : 0;
    if (status != 0)
        return status;
    const std::string program =
        options.explorer.empty() ? vx::ProgramFolder() + "/" VX_EXPLORER : options.explorer;
    const vx::OpeningTexts opening = {options.volume.c_str(), options.kind.c_str(),
                                      options.asksSecret ? asked.Text() : options.secret.c_str()};
    const auto forget = [&] {
        asked.Wipe();
        vx::WipeText(&options.secret);
    };
    return vx::HostSession(events, kPaths).Run(program, opening, options.sendCode, forget);
}

}  // namespace

int main(int argc, char *argv[])
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return vx::kExitNotStarted;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    vx::CommandLine line = vx::ParseCommandLine(arguments);
    vx::WipeTexts(&arguments);
    if (!line.error.empty()) {
        fprintf(stderr, "volume-host: %s\n%s", vx::TerminalText(line.error).c_str(),
                vx::kUsageText);
        return vx::kExitUsage;
    }
    if (line.options.help || line.options.version) {
        fputs(line.options.help ? vx::kHelpText : vx::kVersionText, stdout);
        return vx::kExitSuccess;
    }
    return RunHost(line.options);
}
