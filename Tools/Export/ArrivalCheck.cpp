#include "ArrivalCheck.h"

#include "PathText.h"
#include "StopRequest.h"
#include "ThreadChecks.h"

namespace vx {

ArrivalCheck::ArrivalCheck(const VolumeSession &session, const PlannedExport &planned,
                           DestinationTree &tree, const PlanNames &names, ArrivalSink &sink,
                           Settings settings, CopyProgress &progress, ExportReport *report)
    : _plan(planned.plan),
      _tree(tree),
      _names(names),
      _sink(sink),
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
        _report.unfinished.push_back(
            {file, FailureKind::kNotCopied, VolumeObstacle::kNone, arrival.reason, "", {}});
        return;
    case Arrival::State::kFailed:
        _failures.Add(file, arrival.kind, arrival.reason);
    }
}

void ArrivalCheck::NoteUnreached(Number file)
{
    if (_report.stop != ExportReport::Stop::kNone)
        _report.notCopied.push_back(file);
    else
        _failures.Add(file, FailureKind::kNotCopied, "it was not copied");
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
    auto kind = FailureKind::kDestination;
    const std::string reason = WasStopped() ? "" : Difference(copy, &kind);
    if (WasStopped() && reason.empty()) {
        _report.notChecked.push_back(copy.number);
        return NoteName(copy);
    }
    if (!reason.empty())
        return _failures.Add({copy.number, kind, VolumeObstacle::kNone, reason, copy.path, {}});
    Count(copy);
    if (_report.stop == ExportReport::Stop::kDiskGone)
        _report.arrived.push_back(copy.number);
    NoteName(copy);
}

void ArrivalCheck::Count(const Copy &copy)
{
    const bool wasThere = copy.arrival.state == Arrival::State::kAlreadyThere;
    ++(wasThere ? _report.earlierFiles : _report.arrivedFiles);
    (wasThere ? _report.earlierBytes : _report.arrivedBytes) += copy.arrival.size;
    if (_settings.verifies && !_sink.IsHashed(copy.number))
        ++_report.unhashedFiles;
}

void ArrivalCheck::CheckDamaged(const Copy &copy)
{
    const std::string &reason = copy.arrival.reason;
    auto kind = FailureKind::kDestination;
    const std::string more = WasStopped() ? "" : Difference(copy, &kind);
    _failures.Add({copy.number, copy.arrival.kind, VolumeObstacle::kNone,
                   more.empty() ? reason : reason + "; " + more, copy.path, copy.arrival.unread});
    NoteName(copy);
}

void ArrivalCheck::NoteName(const Copy &copy)
{
    if (copy.isChanged)
        _report.renamed.push_back({copy.number, copy.path});
}

// Between the copy and what it should be; empty if there is none.
std::string ArrivalCheck::Difference(const Copy &copy, FailureKind *kind)
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
    if (!_settings.verifies || !_sink.IsHashed(copy.number)) {
        _progress.Show(copy.number, copy.arrival.size);
        return "";
    }
    *kind = FailureKind::kDiffers;
    return _sink.Difference(copy.number, folder->Get(), path.name, [this, &copy](int64_t bytes) {
        _progress.Show(copy.number, bytes);
        return !WasStopped();
    });
}

bool ArrivalCheck::WasStopped() const
{
    return _settings.mayBeStopped && StopRequest::Signal() != 0;
}

}  // namespace vx
