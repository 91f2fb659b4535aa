// volume-host: the host application of the explorer, on the command line.
#include "CommandLine.h"
#include "ExitStatus.h"
#include "HostSession.h"
#include "LinkFifos.h"
#include "ProgramFolder.h"
#include "SecretReader.h"
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
int ReadSecret(vx::EventPipe &events, const vx::HostOptions &options, vx::TypedSecret *secret)
{
    const bool asks = options.unlocking.asksSecret;
    const vx::UniqueFd terminal(asks ? open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC) : -1);
    if (asks && !terminal) {
        fputs("volume-host: there is no terminal to ask for the secret on\n", stderr);
        return vx::kExitNotStarted;
    }
    vx::SecretReader reader(terminal.Get(), events);
    const auto answer = reader.Read(options.unlocking, options.volume, secret);
    if (answer == vx::SecretReader::Answer::kInterrupted)
        return vx::kExitSignalBase + reader.InterruptingSignal();
    if (answer == vx::SecretReader::Answer::kGiven)
        return 0;
    fprintf(stderr, "volume-host: %s\n", reader.Error().c_str());
    return vx::kExitUsage;
}

// Overwrites the secret as soon as the explorer has it.
int RunHost(vx::HostOptions &options)
{
    vx::EventPipe events;
    const vx::SignalWatch watch(events);
    vx::TypedSecret secret;
    const int status = ReadSecret(events, options, &secret);
    vx::WipeText(&options.unlocking.secret);
    if (status != 0)
        return status;
    const std::string program =
        options.explorer.empty() ? vx::ProgramFolder() + "/" VX_EXPLORER : options.explorer;
    const vx::OpeningTexts opening = {options.volume.c_str(), options.unlocking.kind.c_str(),
                                      secret.Text()};
    const auto forget = [&] { secret.Wipe(); };
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
    line.options.unlocking.HideIn(argv + 1);
    if (line.options.help || line.options.version) {
        fputs(line.options.help ? vx::kHelpText : vx::kVersionText, stdout);
        return vx::kExitSuccess;
    }
    return RunHost(line.options);
}
