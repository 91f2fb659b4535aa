#include "EntryFailures.h"

#include "EntryObstacle.h"
#include "ObstacleReason.h"
#include "ObstacleText.h"

namespace vx {
namespace {

constexpr char kSameName[] = "an earlier folder in its place has the same name";

std::string WithDetail(const std::string &reason, const std::string &detail)
{
    return detail.empty() ? reason : reason + ": " + detail;
}

}  // namespace

void EntryFailures::AddFolders(const Arrivals *arrivals)
{
    const ExportPlan &plan = _planned.plan;
    for (Number entry = ExportPlan::kRoot; entry != ExportPlan::kNone; entry = plan.Next(entry)) {
        if (plan.At(entry).IsFolder())
            AddFolder(entry, arrivals);
    }
    for (const Number entry : _planned.lackingStreams)
        Add(entry, FailureKind::kDamaged,
            "its named streams may be missing: records on the disk are damaged");
}

void EntryFailures::AddFolder(Number folder, const Arrivals *arrivals)
{
    const PlanEntry &entry = _planned.plan.At(folder);
    if (entry.Has(PlanEntry::kIsRepeated))
        return Add(folder, FailureKind::kName, kSameName);
    if (entry.Has(PlanEntry::kIsUnlistable))
        return AddUnopened(folder, ObstacleOf(entry, _planned.plan.PathOf(folder), _reports),
                           "this folder cannot be listed");
    const Arrival arrival = arrivals == nullptr ? Arrival() : arrivals->At(folder);
    if (arrival.state == Arrival::State::kFailed && !arrival.reason.empty())
        AddUnmade(folder, arrival.kind, arrival.reason);
    const auto damaged = _planned.damagedFolders.find(folder);
    if (damaged == _planned.damagedFolders.end())
        return;
    ++_report.damagedFolders;
    Add(folder, FailureKind::kFolder, ListingText(damaged->second));
}

void EntryFailures::AddUnmade(Number folder, FailureKind kind, const std::string &reason)
{
    if (!HasFiles(folder))
        Add(folder, kind, reason);
}

bool EntryFailures::HasFiles(Number folder) const
{
    const Number first = _planned.plan.At(folder).firstChild;
    const Number end = first + _planned.plan.At(folder).children;
    for (Number child = first; child < end; ++child) {
        if (!_planned.plan.At(child).IsFolder())
            return true;
    }
    return false;
}

// A link leads to a folder, to nothing or out of the volume; it is missed only if it was named.
void EntryFailures::AddUnopened(Number entry, VolumeObstacle obstacle, const std::string &reason)
{
    const PlanEntry &planned = _planned.plan.At(entry);
    const bool isLink = obstacle == VolumeObstacle::kLink;
    if (IsCounted(obstacle))
        _report.counted[{obstacle, planned.IsFolder()}].push_back(entry);
    else if (isLink && !planned.Has(PlanEntry::kIsNamed))
        _report.links.push_back(entry);
    else if (isLink)
        Add(entry, FailureKind::kLink, "this link is not followed");
    else
        Add({entry,
             planned.IsFolder() ? FailureKind::kFolder : FailureKind::kUnopened,
             obstacle,
             WithDetail(reason, ObstacleReason(obstacle)),
             "",
             {}});
}

void EntryFailures::Add(Number entry, FailureKind kind, const std::string &reason)
{
    Add({entry, kind, VolumeObstacle::kNone, reason, "", {}});
}

}  // namespace vx
