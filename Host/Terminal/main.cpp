// volume-host: the host application of the explorer, on the command line.
#include "CommandLine.h"
#include "ExitStatus.h"
#include "HostSession.h"
#include "SecretReader.h"
#include "SignalWatch.h"
#include "StandardDescriptors.h"
#include "TerminalObserver.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"
#include "UsageText.h"

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <vector>

namespace {

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

int RunHost(vx::HostOptions &options)
{
    vx::EventPipe events;
    if (!events.Error().empty()) {
        fprintf(stderr, "volume-host: %s\n", events.Error().c_str());
        return vx::kExitNotStarted;
    }
    const vx::SignalWatch watch(events);
    vx::HostRequest request;
    const int status = ReadSecret(events, options, &request.secret);
    vx::WipeText(&options.unlocking.secret);
    if (status != 0)
        return status;
    request.volume = options.volume;
    request.kind = options.unlocking.kind;
    request.sendCode = options.sendCode;
    if (!options.explorer.empty())
        request.programs.explorer = options.explorer;
    vx::TerminalObserver observer;
    return observer.ReportEnd(vx::HostSession(events, observer).Run(&request));
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
