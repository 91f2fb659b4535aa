#include "Arrivals.h"

#import "EntryText.h"
#include "LocalFileOpening.h"
#include "NumberText.h"
#include "ObstacleText.h"
#include "PathText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kSameName[] = "an earlier entry of its folder has the same name";
constexpr char kReadAll[] = "the volume could not read all of it; the copy is damaged";

bool IsFull(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

std::string SystemText(int error)
{
    return IsFull(error) ? "the disk is full" : strerror(error);
}

std::string ReasonRefused(int error)
{
    switch (error) {
    case EISDIR:
        return "a folder of this machine stands in its place";
    case EBUSY:
        return "a file that this export reads stands in its place";
    case ENXIO:
        return "a FIFO, a socket or a device of this machine stands in its place";
    case EACCES:
        return "an older file in its place could not be overwritten";
    default:
        return "could not be created: " + SystemText(error);
    }
}

const char *ReasonSkipped(ExportEnd end)
{
    switch (end) {
    case ExportEnd::kNoPath:
        return "its name is not valid text";
    case ExportEnd::kLeavesDestination:
        return "its path would lead out of the destination";
    default:
        return "there is not enough memory";
    }
}

// The reason, with a possible explanation.
std::string Explained(const std::string &reason, Z5FindData *entry)
{
    NSCharacterSet *separators = [NSCharacterSet characterSetWithCharactersInString:@"\\/"];
    if ([[entry strFileName] rangeOfCharacterFromSet:separators].length == 0)
        return reason;
    return reason + " (its name holds \"\\\" or \"/\", which separates folders here)";
}

std::string CopiedText(const ExportOutcome &outcome)
{
    return GroupedText(outcome.copied) + " of " + CountText(outcome.size, "byte", "bytes");
}

}  // namespace

bool Arrivals::Refuse(const std::string &reason)
{
    _reason = reason;
    return false;
}

bool Arrivals::MakeFolder(Z5FindData *entry)
{
    AssertWorkerThread();
    if (!_seen.insert(VolumePathOf(entry)).second)
        return Refuse(kSameName);
    _path = _names.PathOf(entry, &_isChanged);
    if (_path.empty())
        return Refuse("its name cannot be written on this machine");
    const SplitPath path(_path);
    _name = path.name;
    int error = 0;
    _opened = _tree.Enter(path.folder, DestinationTree::Missing::kMake, &_reason, &error);
    if (!_opened)
        NoteFull(error);
    _folder = _opened ? _opened->Get() : -1;
    return bool(_opened);
}

FILE *Arrivals::Open(Z5FindData *)
{
    AssertWorkerThread();
    if (!IsFree())
        return nullptr;
    FILE *file =
        _file.Create(_folder, _name, _names.LongestName(), _replaces ? &_replaced : nullptr);
    if (file == nullptr) {
        NoteFull(errno);
        Refuse("could not be created: " + SystemText(errno));
    }
    return file;
}

// Whether the place is free, or holds a file that may be replaced.
bool Arrivals::IsFree()
{
    _replaces = false;
    switch (LookAtLocalTarget(_folder, _name.c_str(), &_replaced)) {
    case LocalTarget::kNothing:
        return true;
    case LocalTarget::kRefused:
        return Refuse(ReasonRefused(errno));
    case LocalTarget::kFile:
    case LocalTarget::kOtherName:
        break;
    }
    return MayReplace(_replaced);
}

bool Arrivals::MayReplace(const struct stat &found)
{
    const PlacedFiles::Number earlier = _placed.At(_path, IdentityOf(found));
    if (earlier != PlacedFiles::kNone)
        return Refuse("its place is taken by " + ShownPathOf(_all[earlier].entry) +
                      ", which has arrived there");
    if (!S_ISREG(found.st_mode))
        return true;
    if (_sources.Holds(found))
        return Refuse(ReasonRefused(EBUSY));
    if (faccessat(_folder, _name.c_str(), W_OK, AT_EACCESS) != 0)
        return Refuse(ReasonRefused(EACCES));
    _replaces = true;
    return true;
}

void Arrivals::End(Z5FindData *entry, const ExportOutcome &outcome)
{
    AssertWorkerThread();
    // A disk that is gone opens nothing: the export did not reach this entry.
    if (outcome.end == ExportEnd::kNotOpened && MustStop())
        return;
    Arrival arrival;
    arrival.entry = entry;
    arrival.size = outcome.size;
    Judge(outcome, &arrival);
    _file.Discard();
    _all.push_back(std::move(arrival));
}

void Arrivals::Judge(const ExportOutcome &outcome, Arrival *arrival)
{
    switch (outcome.end) {
    case ExportEnd::kCopied:
        return Deliver(arrival);
    case ExportEnd::kStopped:
        arrival->state = Arrival::State::kUnfinished;
        arrival->reason = CopiedText(outcome) + " had been copied";
        return;
    case ExportEnd::kNotOpened:
        arrival->state = Arrival::State::kUnopened;
        arrival->obstacle = _session.Volume().ObstacleOf(VolumePathOf(arrival->entry));
        return;
    case ExportEnd::kNotWritten:
        return NoteUnwritten(outcome, arrival);
    case ExportEnd::kNoFolder:
    case ExportEnd::kNoLocalFile:
        arrival->reason = Explained(_reason, arrival->entry);
        return;
    default:
        arrival->reason = ReasonSkipped(outcome.end);
    }
}

void Arrivals::NoteUnwritten(const ExportOutcome &outcome, Arrival *arrival)
{
    NoteFull(outcome.error);
    arrival->reason =
        "could not be written after " + CopiedText(outcome) + ": " + SystemText(outcome.error);
}

void Arrivals::NoteFull(int error)
{
    if (IsFull(error) && _stop == Stop::kNone)
        _stop = Stop::kDiskFull;
}

bool Arrivals::MustStop()
{
    if (_stop == Stop::kNone && _session.Volume().IsGone())
        _stop = Stop::kDiskGone;
    return _stop != Stop::kNone;
}

bool Arrivals::IsDamaged(const Arrival &arrival) const
{
    return arrival.obstacle == VolumeObstacle::kDamaged ||
           arrival.obstacle == VolumeObstacle::kUnreadable ||
           _session.Volume().ReadFailed(VolumePathOf(arrival.entry));
}

void Arrivals::Deliver(Arrival *arrival)
{
    const std::u16string path = VolumePathOf(arrival->entry);
    arrival->obstacle = _session.Volume().ObstacleOf(path);
    if (arrival->size < 0) {
        arrival->reason = "the volume gives no valid size for it";
        return;
    }
    if (IsDamaged(*arrival))
        return DeliverDamaged(arrival);
    if (!TakePlace()) {
        arrival->reason = "could not be put into its place: " + SystemText(errno);
        NoteFull(errno);
        return;
    }
    arrival->state = Arrival::State::kArrived;
    arrival->path = _path;
    arrival->isChanged = _isChanged;
}

bool Arrivals::TakePlace()
{
    const FileIdentity replaced = IdentityOf(_replaced);
    const FileIdentity *const old = _replaces ? &replaced : nullptr;
    _placed.Place(_file.Identity(), _path, old, static_cast<PlacedFiles::Number>(_all.size()));
    if (_file.Deliver())
        return true;
    const int error = errno;
    _placed.Forget(_file.Identity(), _path, old);
    errno = error;
    return false;
}

// From a disk that is gone, only whole files are kept.
void Arrivals::DeliverDamaged(Arrival *arrival)
{
    if (MustStop()) {
        arrival->state = Arrival::State::kUnfinished;
        arrival->reason = "the rest of it could not be read";
        return;
    }
    struct stat found;
    const bool isFree = LookAtLocalTarget(_folder, _name.c_str(), &found) == LocalTarget::kNothing;
    std::string name;
    if (!isFree)
        name = _file.DeliverAsDamaged();
    else if (_file.Deliver())
        name = _name;
    arrival->reason = DamageOf(*arrival);
    if (name.empty()) {
        arrival->reason += "; the copy could not be put into its place: " + SystemText(errno);
        NoteFull(errno);
        return;
    }
    if (!isFree)
        arrival->reason +=
            "; the file in its place was kept, and the copy is beside it: " + TerminalText(name);
    arrival->state = Arrival::State::kDamaged;
    arrival->path = _path.substr(0, _path.size() - _name.size()) + name;
    arrival->isChanged = _isChanged;
    _placed.Place(_file.Identity(), arrival->path, nullptr,
                  static_cast<PlacedFiles::Number>(_all.size()));
}

std::string Arrivals::DamageOf(const Arrival &arrival) const
{
    const std::vector<ByteRange> unread =
        _session.Volume().UnreadRangesOf(VolumePathOf(arrival.entry));
    if (!unread.empty())
        return UnreadText(unread, _namesAllRanges);
    const std::string obstacle = ObstacleText(arrival.obstacle);
    return obstacle.empty() ? kReadAll : obstacle + "; the copy is damaged";
}

}  // namespace vx
