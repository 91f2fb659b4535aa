#include "ArrivalCheck.h"

#include "PathText.h"
#include "PlanText.h"
#include "StopRequest.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <cerrno>
#include <cstring>

namespace vx {

ArrivalCheck::ArrivalCheck(const VolumeSession &session, const PlannedExport &planned,
                           DestinationTree &tree, const PlanNames &names, Settings settings,
                           CopyProgress &progress, ExportReport *report)
    : _session(session),
      _plan(planned.plan),
      _tree(tree),
      _names(names),
      _settings(settings),
      _progress(progress),
      _report(*report),
      _failures(planned, session.Reports(), report)
{
    AssertMainThread();
}

void ArrivalCheck::CheckFiles(const Arrivals &arrivals)
{
    AssertMainThread();
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = _plan.Next(file)) {
        if (!_plan.At(file).IsFolder())
            CheckFile(file, arrivals.At(file));
    }
}

void ArrivalCheck::CheckFile(Number file, const Arrival &arrival)
{
    switch (arrival.state) {
    case Arrival::State::kNotReached:
        return NoteUnreached(file);
    case Arrival::State::kArrived:
    case Arrival::State::kAlreadyThere:
        return CheckArrived(CopyOf(file, arrival));
    case Arrival::State::kDamaged:
        return CheckDamaged(CopyOf(file, arrival));
    case Arrival::State::kUnopened:
        return _failures.AddUnopened(file, arrival.obstacle, "the volume cannot open it");
    case Arrival::State::kUnfinished:
        _report.unfinished.push_back({ShownPathOf(_plan, file), arrival.reason});
        return;
    case Arrival::State::kFailed:
        _failures.Add(file, arrival.reason);
    }
}

void ArrivalCheck::NoteUnreached(Number file)
{
    if (_report.stop != ExportReport::Stop::kNone)
        _report.notCopied.push_back(ShownPathOf(_plan, file));
    else
        _failures.Add(file, "it was not copied");
}

ArrivalCheck::Copy ArrivalCheck::CopyOf(Number file, const Arrival &arrival) const
{
    Copy copy{file, arrival, "", false};
    copy.path = _names.PathOf(file, &copy.isChanged);
    if (!arrival.copy.empty())
        copy.path.replace(copy.path.rfind('/') + 1, std::string::npos, arrival.copy);
    return copy;
}

void ArrivalCheck::CheckArrived(const Copy &copy)
{
    const std::string reason =
        WasStopped() ? "" : Difference(copy, FileComparison::Unread::kIsFailure);
    // A disk that is gone says nothing about the copy.
    if (WasStopped() && (reason.empty() || _session.Volume().IsGone())) {
        _report.notChecked.push_back(ShownPathOf(_plan, copy.number));
        return NoteName(copy);
    }
    if (!reason.empty())
        return _failures.Add(copy.number, reason);
    ++_report.arrivedFiles;
    _report.arrivedBytes += copy.arrival.size;
    if (_report.stop == ExportReport::Stop::kDiskGone)
        _report.arrived.push_back(ShownPathOf(_plan, copy.number));
    NoteName(copy);
}

void ArrivalCheck::CheckDamaged(const Copy &copy)
{
    const std::string &reason = copy.arrival.reason;
    const std::string more = WasStopped() ? "" : Difference(copy, FileComparison::Unread::kIsZero);
    _failures.Add(copy.number, more.empty() ? reason : reason + "; " + more);
    NoteName(copy);
}

void ArrivalCheck::NoteName(const Copy &copy)
{
    if (copy.isChanged)
        _report.renamed.push_back({ShownPathOf(_plan, copy.number), TerminalText(copy.path)});
}

// Between the copy and what it should be; empty if there is none.
std::string ArrivalCheck::Difference(const Copy &copy, FileComparison::Unread unread)
{
    const SplitPath path(copy.path);
    std::string reason;
    int error = 0;
    const DestinationTree::Folder folder =
        _tree.Enter(path.folder, DestinationTree::Missing::kFail, &reason, &error);
    if (!folder)
        return reason;
    reason = ReasonNotThere(folder->Get(), path.name, copy.arrival.size);
    if (!reason.empty())
        return reason;
    if (!_settings.verifies) {
        _progress.Show(copy.number, copy.arrival.size);
        return "";
    }
    const UniqueFd file = OpenArrived(folder->Get(), path.name);
    if (!file)
        return std::string("the copy cannot be read again: ") + strerror(errno);
    return DifferenceFrom(copy, file.Get(), unread);
}

std::string ArrivalCheck::DifferenceFrom(const Copy &copy, int file, FileComparison::Unread unread)
{
    OpenVolumeFile original(_session.Volume(), _plan.PathOf(copy.number));
    if (!original)
        return "the volume cannot open it again";
    return _comparison.Difference(&original, copy.arrival.size, file, unread,
                                  [this, &copy](int64_t bytes) {
                                      _progress.Show(copy.number, bytes);
                                      return !WasStopped();
                                  });
}

bool ArrivalCheck::WasStopped() const
{
    return _settings.mayBeStopped &&
           (StopRequest::Signal() != 0 || (_settings.verifies && _session.Volume().IsGone()));
}

}  // namespace vx
