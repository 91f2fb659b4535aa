#include "FileCopier.h"

#include "DamageMark.h"
#include "EntryObstacle.h"
#include "LocalFile.h"
#include "NumberText.h"
#include "ObstacleReason.h"
#include "ObstacleText.h"
#include "OpenPlanned.h"
#include "TerminalText.h"
#include "TooLargeFiles.h"
#include "Unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr char kNotAllRead[] = "the volume could not read all of it; the copy is damaged";

bool HoldsSeparator(std::u16string_view name)
{
    return name.find_first_of(u"\\/") != name.npos;
}

// Zeroed, and real only where it is used; null without memory.
unsigned char *NewBuffer()
{
    return static_cast<unsigned char *>(calloc(1, FileCopier::kChunk));
}

}  // namespace

FileCopier::FileCopier(CopyJob &job)
    : _job(job),
      _buffer(NewBuffer()),
      _hasher(job.sink.MakeHasher()),
      _file(job.places.Partials(), job.places.Traits().longestName)
{
}

void FileCopier::Copy(ExportPlan::Number number)
{
    _number = number;
    _arrival = Arrival();
    _arrival.size = _job.plan.At(number).size;
    _copied = 0;
    _hasReadAll = true;
    _job.progress.Show(number, 0);
    if (FindPlace())
        CopyIfMissing();
    _file.Discard();
    if (_arrival.state != Arrival::State::kNotReached)
        _job.arrivals.Set(number, _arrival);
}

bool FileCopier::FindPlace()
{
    if (_buffer == nullptr)
        return Fail("there is not enough memory", FailureKind::kMemory);
    if (!IsUtf16(_job.plan.NameOf(_number)))
        return Fail("its name is not valid text", FailureKind::kName);
    PlaceError error;
    return _job.places.Find(_number, DestinationTree::Missing::kMake, &_place, &error) ||
           FailPlaced(error);
}

void FileCopier::CopyIfMissing()
{
    if (_job.sink.IsAlreadyThere(_number, _place.folder->Get(), _place.name))
        return NoteThere();
    OpenVolumeFile source = OpenPlanned(_job.volume, _job.plan, _number);
    if (source)
        CopyOpened(&source);
    else
        NoteUnopened();
}

// Another file of this export may have put it there.
void FileCopier::NoteThere()
{
    PlaceError error;
    if (!_job.places.Keep(_number, _place, &error)) {
        _job.sink.IsNotThere(_number);
        FailPlaced(error);
        return;
    }
    GiveDates();
    _arrival.state = Arrival::State::kAlreadyThere;
    _arrival.size = _job.plan.At(_number).size;
    _job.progress.Show(_number, _arrival.size);
}

// It may have been read since, or the earlier export was interrupted.
void FileCopier::GiveDates()
{
    const UniqueFd copy =
        _job.dates.AreWanted() ? OpenArrived(_place.folder->Get(), _place.name) : UniqueFd();
    if (copy)
        _job.dates.Give(_number, copy.Get());
}

void FileCopier::CopyOpened(OpenVolumeFile *source)
{
    const auto size = source->Size();
    _hasReadAll = size.has_value();
    _arrival.size = size.value_or(0);
    if (_arrival.size < 0) {
        Fail("the volume gives no valid size for it", FailureKind::kDamaged);
        return;
    }
    if (_arrival.size > _job.places.Traits().largestFile) {
        Fail(ReasonTooLarge(_job.places.Traits()));
        return;
    }
    if (!Create() || !CopyChunks(source))
        return;
    const std::string damage = DamageOf(*source);
    if (CloseCopy(!damage.empty()))
        Deliver(damage);
}

bool FileCopier::Create()
{
    Standing standing;
    PlaceError error;
    if (!_job.places.MayTake(_place, &standing, &error))
        return FailPlaced(error);
    if (_file.Create(_place.folder, _place.name, standing.IsFile() ? &standing.found : nullptr))
        return true;
    return FailPlaced({"could not be created: " + DestinationErrorText(errno), errno});
}

bool FileCopier::CopyChunks(OpenVolumeFile *source)
{
    if (_hasher)
        _hasher.Begin();
    while (_copied < _arrival.size) {
        if (_job.stop.IsDue()) {
            _arrival.state = Arrival::State::kUnfinished;
            _arrival.reason = CopiedText() + " had been copied";
            return false;
        }
        const auto count = static_cast<uint32_t>(std::min(_arrival.size - _copied, kChunk));
        ReadChunk(source, _copied, count);
        if (!WriteChunk(count))
            return false;
        if (_hasher && _copied < _arrival.size && !ExchangeBuffers())
            return Fail("there is not enough memory", FailureKind::kMemory);
        _job.progress.Show(_number, count);
    }
    return !_job.leavesHoles || _file.EndHoles() || NoteUnwritten(errno);
}

// What a failed read leaves in the buffer is known only if the library names what it could not
// read: that is zeros. Otherwise the chunk is read again over zeros, so that no byte of another
// file stays.
void FileCopier::ReadChunk(OpenVolumeFile *source, int64_t position, uint32_t count)
{
    if (source->Read(_buffer.get(), count))
        return;
    _hasReadAll = false;
    const std::vector<ByteRange> unread = _job.reports.UnreadRanges(source->Handle());
    const auto begin = static_cast<uint64_t>(position);
    const bool isNamed = std::any_of(unread.begin(), unread.end(), [&](const ByteRange &range) {
        return range.offset < begin + count && begin < range.offset + range.length;
    });
    if (isNamed)
        return;
    memset(_buffer.get(), 0, count);
    if (source->Seek(position))
        source->Read(_buffer.get(), count);
    source->Seek(position + count);
}

bool FileCopier::WriteChunk(uint32_t count)
{
    if (_hasher)
        _hasher.Add(_buffer.get(), count);
    const size_t written = _job.leavesHoles ? _file.WriteWithHoles(_buffer.get(), count)
                                            : _file.Write(_buffer.get(), count);
    const int error = errno;
    _copied += static_cast<int64_t>(written);
    return written == count || NoteUnwritten(error);
}

// The chunk just written may still be hashed; the one before it no longer is.
bool FileCopier::ExchangeBuffers()
{
    if (_other == nullptr)
        _other.reset(NewBuffer());
    if (_other == nullptr)
        return false;
    std::swap(_buffer, _other);
    return true;
}

// A damaged copy that cannot be marked keeps the time of its making: a later export must not take
// it for a whole one.
bool FileCopier::CloseCopy(bool isDamaged)
{
    if (!isDamaged || MarkDamaged(_file.File()))
        _job.dates.Give(_number, _file.File());
    const int refusal = _job.sink.BeforeItIsPlaced(_file.File());
    if (refusal != 0)
        return NoteUnwritten(refusal);
    return _file.Close() || NoteUnwritten(errno);
}

void FileCopier::Deliver(const std::string &damage)
{
    if (!damage.empty())
        return DeliverDamaged(damage);
    PlaceError error;
    if (!_job.places.Deliver(_number, _place, &_file, &error)) {
        _job.stop.NoteError(error.error);
        Fail(error.reason);
        return;
    }
    _arrival.state = Arrival::State::kArrived;
    Report(_place.name, true);
}

// From a disk that is gone, only whole files are kept.
void FileCopier::DeliverDamaged(const std::string &damage)
{
    if (_job.stop.IsDiskGone()) {
        _job.stop.IsDue();
        _arrival.state = Arrival::State::kUnfinished;
        _arrival.reason = "the rest of it could not be read";
        return;
    }
    PlaceError error;
    const std::string name = _job.places.DeliverDamaged(_number, _place, &_file, &error);
    if (name.empty()) {
        _job.stop.NoteError(error.error);
        Fail(damage + "; " + error.reason);
        return;
    }
    _arrival.state = Arrival::State::kDamaged;
    _arrival.reason = damage;
    if (name != _place.name) {
        _arrival.copy = name;
        _arrival.reason +=
            "; the file in its place was kept, and the copy is beside it: " + TerminalText(name);
    }
    Report(name, false);
}

// Empty if the copy is whole.
std::string FileCopier::DamageOf(const OpenVolumeFile &source)
{
    const std::vector<ByteRange> unread = _job.reports.UnreadRanges(source.Handle());
    _arrival.unread = unread;
    _arrival.kind = unread.empty() ? FailureKind::kDamaged : FailureKind::kUnread;
    if (!unread.empty())
        return UnreadText(unread, _job.namesAllRanges);
    const VolumeObstacle obstacle = ObstacleOf(_job.plan, _number, _job.reports);
    const bool isDamaged =
        obstacle == VolumeObstacle::kDamaged || obstacle == VolumeObstacle::kUnreadable;
    if (_hasReadAll && !isDamaged)
        return "";
    const std::string text = ObstacleReason(obstacle);
    return text.empty() ? kNotAllRead : text + "; the copy is damaged";
}

void FileCopier::Report(const std::string &name, bool isWhole)
{
    FileHash hash;
    if (_hasher)
        hash = _hasher.End();
    ArrivalPlace own = _place;
    own.name = name;
    _job.sink.Arrived({_number, own.Path(), own.folder->Get(), name, _arrival.size, isWhole,
                       _hasher ? &hash : nullptr});
}

bool FileCopier::Fail(const std::string &reason, FailureKind kind)
{
    _arrival.kind = kind;
    _arrival.state = Arrival::State::kFailed;
    _arrival.reason = reason;
    return false;
}

// The reason, with a possible explanation.
bool FileCopier::FailPlaced(const PlaceError &error)
{
    _job.stop.NoteError(error.error);
    const bool isExplained = error.error != 0 && HoldsSeparator(_job.plan.NameOf(_number));
    return Fail(isExplained ? error.reason +
                                  " (its name holds \"\\\" or \"/\", which separates folders here)"
                            : error.reason);
}

// A disk that is gone opens nothing: the export did not reach this file.
void FileCopier::NoteUnopened()
{
    if (_job.stop.IsDiskGone())
        return;
    _arrival.state = Arrival::State::kUnopened;
    _arrival.obstacle = ObstacleOf(_job.plan, _number, _job.reports);
    // A stream that was found lies in records that are there.
    if (_job.plan.At(_number).Has(PlanEntry::kIsStream) &&
        _arrival.obstacle == VolumeObstacle::kNone)
        _arrival.obstacle = VolumeObstacle::kDamaged;
}

bool FileCopier::NoteUnwritten(int error)
{
    _job.stop.NoteError(error);
    return Fail("could not be written after " + CopiedText() + ": " + DestinationErrorText(error));
}

std::string FileCopier::CopiedText() const
{
    return GroupedText(_copied) + " of " + CountText(_arrival.size, "byte", "bytes");
}

}  // namespace vx
