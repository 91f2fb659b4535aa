#include "TerminalObserver.h"

#include "DamageLine.h"
#include "ExitStatus.h"
#include "NumberText.h"
#include "TerminalText.h"

#include <cstdio>

namespace vx {
namespace {

void Report(const std::string &line)
{
    printf("volume-host: %s\n", line.c_str());
    fflush(stdout);
}

void Complain(const std::string &line)
{
    fprintf(stderr, "volume-host: %s\n", line.c_str());
}

void Complain(const TrialResult &result)
{
    for (const std::string &warning : result.warnings)
        Complain("warning: " + warning);
    if (!result.reason.empty())
        Complain(result.wasTried ? result.reason + "; the window will be empty" : result.reason);
}

}  // namespace

void TerminalObserver::OnProgress(const ChannelProgress &progress)
{
    if (!_progress)
        _progress.emplace();
    _progress->Show(static_cast<VolumeOpeningStep>(progress.step), progress.done, progress.total,
                    progress.seconds, OpeningProgress::Clock::now());
}

bool TerminalObserver::OnTried(const TrialResult &result)
{
    _progress.reset();
    TakeResult(result);
    return true;
}

void TerminalObserver::OnNotSent()
{
    Complain("could not send the message: the explorer is not reading");
}

void TerminalObserver::OnOpened(const TrialResult &result)
{
    TakeResult(result);
}

// Without a reason nothing is known of a volume that was not tried.
void TerminalObserver::TakeResult(const TrialResult &result)
{
    _isShut = !result.opened && !result.reason.empty();
    Complain(result);
}

void TerminalObserver::OnDamage(const ChannelDamage &damage)
{
    _isDamaged = true;
    const bool isRefused = damage.kind == ChannelDamageKind::kFileClosed;
    Complain((isRefused ? "not read: " : "damaged: ") + DamageLine(damage));
}

void TerminalObserver::OnReportsLost(uint64_t count)
{
    _isDamaged = true;
    const std::string reports =
        count == 0 ? "reports" : CountText(static_cast<int64_t>(count), "report", "reports");
    Complain(reports + " of damage got lost; there may be more damage than was said here");
}

void TerminalObserver::OnNotice()
{
    Report("the explorer sent its quit notice");
}

int TerminalObserver::ReportEnd(const SessionEnd &end)
{
    _progress.reset();
    const int status = ReportEndOfKind(end);
    return end.isSent || end.kind == SessionEndKind::kInterrupted ? status : kExitNotSent;
}

int TerminalObserver::ReportEndOfKind(const SessionEnd &end)
{
    switch (end.kind) {
    case SessionEndKind::kQuit:
    case SessionEndKind::kRefused:
        return StatusOfVolume();
    case SessionEndKind::kNoNotice:
        Report("the explorer ended without a quit notice (" + end.text + ")");
        return kExitNoNotice;
    case SessionEndKind::kLinkTaken:
        Complain(end.text);
        return kExitLinkTaken;
    case SessionEndKind::kNotStarted:
        Complain(end.text);
        return kExitNotStarted;
    case SessionEndKind::kEndedByHost:
        Complain("the explorer did not end after its quit notice and was ended");
        return kExitEndedByHost;
    case SessionEndKind::kInterrupted:
        Report("interrupted by signal " + std::to_string(end.signal) +
               (_hasStarted ? "; the explorer was ended" : "; the explorer was not started"));
        return kExitSignalBase + end.signal;
    }
    return StatusOfVolume();
}

int TerminalObserver::StatusOfVolume() const
{
    if (_isShut)
        return kExitStayedShut;
    return _isDamaged ? kExitDamaged : kExitSuccess;
}

}  // namespace vx
