// volume-host: what the host application is to the explorer, on the command line.
#include "CommandLine.h"
#include "HostSession.h"
#include "LinkFifos.h"
#include "ProgramFolder.h"
#include "SecretPrompt.h"
#include "SignalWatch.h"
#include "StandardDescriptors.h"

#include <cstdio>
#include <fcntl.h>

namespace {

const vx::LinkPaths kPaths = {vx::kExplorerToHost, vx::kHostToExplorer};

// Fills the secret in. Returns 0 or the exit status.
int AskForSecret(vx::EventPipe &events, vx::HostOptions &options)
{
    const vx::UniqueFd terminal(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    vx::SecretPrompt prompt(terminal.Get(), events);
    const auto secret = prompt.Ask("Secret for " + options.volume + ": ");
    if (prompt.InterruptingSignal() != 0)
        return vx::kInterruptedBase + prompt.InterruptingSignal();
    if (!secret) {
        fputs("volume-host: there is no terminal to ask for the secret on\n", stderr);
        return vx::kNotStarted;
    }
    options.secret = *secret;
    return 0;
}

int RunHost(const std::string &argv0, vx::HostOptions options)
{
    vx::EventPipe events;
    const vx::SignalWatch watch(events);
    const int status = options.askForSecret ? AskForSecret(events, options) : 0;
    if (status != 0)
        return status;
    if (options.explorer.empty())
        options.explorer = vx::ProgramFolder(argv0) + "/" VX_EXPLORER;
    return vx::HostSession(events, kPaths).Run(options.explorer, options);
}

}  // namespace

int main(int argc, char *argv[])
{
    if (!vx::HoldStandardDescriptors())
        return vx::kNotStarted;
    const vx::CommandLine line = vx::ParseCommandLine({argv + 1, argv + argc});
    if (!line.error.empty()) {
        fprintf(stderr, "volume-host: %s\n%s", line.error.c_str(), vx::UsageText());
        return vx::kWrongUse;
    }
    if (line.options.help) {
        fputs(vx::HelpText(), stdout);
        return 0;
    }
    return RunHost(argv[0], line.options);
}
