#import "ArrivalCheck.h"

#import "CatalogueWalk.h"
#import "EntryText.h"
#include "ObstacleText.h"
#include "PathText.h"
#include "StopRequest.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr char kSameName[] = "an earlier folder in its place has the same name";

std::string WithDetail(const std::string &reason, const std::string &detail)
{
    return detail.empty() ? reason : reason + ": " + detail;
}

}  // namespace

ArrivalCheck::ArrivalCheck(const VolumeSession &session, NSArray *selected, DestinationTree &tree,
                           Settings settings, ProgressLine &line, ExportReport *report)
    : _session(session),
      _selected(selected),
      _tree(tree),
      _settings(settings),
      _line(line),
      _report(*report)
{
    AssertMainThread();
}

void ArrivalCheck::CheckFolders()
{
    AssertMainThread();
    if (_selected == [_session.Explorer() rootDirectory])
        CheckListing(u"", "/");
    WalkCatalogue(_session.Explorer(), _selected, [this](Z5FindData *entry, bool isUnlistable) {
        if ([entry bDirectory])
            CheckFolder(entry, isUnlistable);
    });
}

void ArrivalCheck::CheckFolder(Z5FindData *folder, bool isUnlistable)
{
    if (IsSelfOrParent(folder))
        return;
    const std::u16string path = VolumePathOf(folder);
    if (!path.empty() && !_folders.insert(path).second)
        return Fail(folder, kSameName);
    // What failed once may be listed now, too late for the plan.
    if (isUnlistable || _session.Volume().ListingFailed(path))
        NoteUnopened(folder, _session.Volume().ObstacleOf(path), "this folder cannot be listed");
    else
        CheckListing(path, ShownPathOf(folder));
}

void ArrivalCheck::CheckListing(const std::u16string &path, const std::string &shownPath)
{
    const VolumeListingReport listing = _session.Volume().ListingOf(path);
    if (listing.isWhole && listing.recoveredEntries == 0)
        return;
    ++_report.damagedFolders;
    _report.failures.push_back({shownPath, ListingText(listing)});
}

void ArrivalCheck::CheckFiles(NSArray *plan, const std::vector<Arrival> &arrivals)
{
    AssertMainThread();
    CountUnreached(plan, arrivals);
    for (const Arrival &arrival : arrivals) {
        @autoreleasepool {
            CheckFile(arrival);
        }
    }
}

// A folder that could be listed only the second time is in the plan and was not copied.
void ArrivalCheck::CountUnreached(NSArray *plan, const std::vector<Arrival> &arrivals)
{
    std::unordered_set<void *> reached;
    for (const Arrival &arrival : arrivals)
        reached.insert(arrival.entry);
    for (Z5FindData *entry in plan) {
        if (reached.count(entry) != 0)
            continue;
        if (_report.stop != ExportReport::Stop::kNone)
            _report.notCopied.push_back(ShownPathOf(entry));
        else
            Fail(entry, "it was not copied");
    }
}

void ArrivalCheck::CheckFile(const Arrival &arrival)
{
    _current = ShownPathOf(arrival.entry);
    switch (arrival.state) {
    case Arrival::State::kArrived:
        return CheckArrived(arrival);
    case Arrival::State::kDamaged:
        return CheckDamaged(arrival);
    case Arrival::State::kUnopened:
        return NoteUnopened(arrival.entry, arrival.obstacle, "the volume cannot open it");
    case Arrival::State::kUnfinished:
        _report.unfinished.push_back({_current, arrival.reason});
        return;
    case Arrival::State::kFailed:
        Fail(arrival.entry, arrival.reason);
    }
}

void ArrivalCheck::CheckArrived(const Arrival &arrival)
{
    const std::string reason =
        WasStopped() ? "" : Difference(arrival, FileComparison::Unread::kIsFailure);
    // A disk that is gone says nothing about the copy.
    if (WasStopped() && (reason.empty() || _session.Volume().IsGone())) {
        _report.notChecked.push_back(_current);
        return NoteName(arrival);
    }
    if (!reason.empty())
        return Fail(arrival.entry, reason);
    ++_report.arrivedFiles;
    _report.arrivedBytes += arrival.size;
    if (_report.stop == ExportReport::Stop::kDiskGone)
        _report.arrived.push_back(_current);
    NoteName(arrival);
}

void ArrivalCheck::CheckDamaged(const Arrival &arrival)
{
    const std::string more =
        WasStopped() ? "" : Difference(arrival, FileComparison::Unread::kIsZero);
    Fail(arrival.entry, more.empty() ? arrival.reason : arrival.reason + "; " + more);
    NoteName(arrival);
}

void ArrivalCheck::NoteName(const Arrival &arrival)
{
    if (arrival.isChanged)
        _report.renamed.push_back({_current, TerminalText(arrival.path)});
}

// Between the copy and what it should be; empty if there is none.
std::string ArrivalCheck::Difference(const Arrival &arrival, FileComparison::Unread unread)
{
    const SplitPath path(arrival.path);
    std::string reason;
    int error = 0;
    const DestinationTree::Folder folder =
        _tree.Enter(path.folder, DestinationTree::Missing::kFail, &reason, &error);
    if (!folder)
        return reason;
    reason = ReasonNotThere(folder->Get(), path.name, arrival.size);
    if (!reason.empty())
        return reason;
    if (!_settings.verifies) {
        Advance(arrival.size);
        return "";
    }
    const UniqueFd copy = OpenArrived(folder->Get(), path.name);
    if (!copy)
        return std::string("the copy cannot be read again: ") + strerror(errno);
    return DifferenceFrom(arrival, copy.Get(), unread);
}

std::string ArrivalCheck::DifferenceFrom(const Arrival &arrival, int copy,
                                         FileComparison::Unread unread)
{
    Z5BitLockerFile *file = [[[Z5BitLockerFile alloc]
        initWithFile:[Z5FileExplorerWapper fullPath:arrival.entry withfilter:nil]
              andVol:[_session.Explorer() getVolObject]] autorelease];
    if (file == nil)
        return "the volume cannot open it again";
    return _comparison.Difference(file, arrival.size, copy, unread,
                                  [this](int64_t bytes) { return Advance(bytes); });
}

// A link leads to a folder, to nothing or out of the volume; it is missed only if it was named.
void ArrivalCheck::NoteUnopened(Z5FindData *entry, VolumeObstacle obstacle,
                                const std::string &reason)
{
    const std::string path = ShownPathOf(entry);
    const bool isLink =
        obstacle == VolumeObstacle::kLink ||
        (obstacle == VolumeObstacle::kNone && _session.Volume().IsLink(VolumePathOf(entry)));
    if (IsCounted(obstacle))
        _report.counted[{obstacle, [entry bDirectory] == YES}].push_back(path);
    else if (isLink && !IsNamed(entry))
        _report.links.push_back(path);
    else if (isLink)
        Fail(entry, "this link is not followed");
    else
        Fail(entry, WithDetail(reason, ObstacleText(obstacle)));
}

void ArrivalCheck::Fail(Z5FindData *entry, const std::string &reason)
{
    _report.failures.push_back({ShownPathOf(entry), reason});
}

bool ArrivalCheck::IsNamed(Z5FindData *entry) const
{
    return [_selected indexOfObjectIdenticalTo:entry] != NSNotFound &&
           _selected != [_session.Explorer() rootDirectory];
}

bool ArrivalCheck::WasStopped() const
{
    return _settings.mayBeStopped &&
           (StopRequest::Signal() != 0 || (_settings.verifies && _session.Volume().IsGone()));
}

bool ArrivalCheck::Advance(int64_t bytes)
{
    _doneBytes += bytes;
    const auto now = ProgressLine::Clock::now();
    if (_line.IsDue(now))
        _line.Show(_doneBytes, _current, now);
    return !WasStopped();
}

}  // namespace vx
