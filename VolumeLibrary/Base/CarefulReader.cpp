#include "CarefulReader.h"

#include "GoneErrors.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kSector = CarefulReader::kSector;
constexpr uint64_t kScratchBytes = uint64_t{64} << 10;

uint64_t SectorBelow(uint64_t place)
{
    return place / kSector * kSector;
}

// Where a failed read probably stopped. This is only a hint.
uint64_t EndOfGood(uint64_t at, uint64_t end, const RawReader::Outcome &outcome)
{
    return SectorBelow(at + std::min(outcome.done, end - at - 1));
}

}  // namespace

struct CarefulReader::Request {
    uint64_t offset;
    char *buffer;
    ByteRanges *unread;
    int error = 0;

    char *At(uint64_t place) const { return buffer + (place - offset); }

    void GiveUp(uint64_t begin, uint64_t end, int reason)
    {
        std::memset(At(begin), 0, static_cast<size_t>(end - begin));
        AddRange(begin, end - begin, unread);
        if (error == 0)
            error = reason;
    }
};

int CarefulReader::Read(uint64_t offset, char *buffer, size_t count, ByteRanges *unread) const
{
    Request request = {offset, buffer, unread};
    const uint64_t end = offset + count;
    for (uint64_t at = offset; at < end;) {
        const Stretch stretch = StretchAt(at, end);
        if (stretch.error != 0)
            request.GiveUp(at, stretch.end, stretch.error);
        at = stretch.error != 0 ? stretch.end : ReadStretch(at, stretch.end, &request);
    }
    return request.error;
}

// What is known of the bytes from this place on.
CarefulReader::Stretch CarefulReader::StretchAt(uint64_t at, uint64_t end) const
{
    if (!_hasFaults.load(std::memory_order_relaxed))
        return {end, 0};
    const uint64_t withheldTo = EndOfWithheld(at);
    if (withheldTo > at && !IsGone())
        return {std::min(end, withheldTo), kWithheld};
    auto run = RunAt(at);
    if (run && run->isOpen && run->end < end)
        run = Follow(at, end);
    if (IsGone())
        return {end, ENODEV};
    if (run && run->end > at)
        return {std::min(end, run->end), EIO};
    return {std::min(end, NextBegin(at)), 0};
}

std::optional<BadRun> CarefulReader::RunAt(uint64_t place) const
{
    const MutexLock lock(_mutex);
    return _map.At(place);
}

// Of what is bad or withheld.
uint64_t CarefulReader::NextBegin(uint64_t place) const
{
    const uint64_t withheld =
        _limits.withheld != nullptr ? NextRangeBegin(*_limits.withheld, place) : UINT64_MAX;
    const MutexLock lock(_mutex);
    return std::min(withheld, _map.NextBegin(place));
}

// The place itself if it may be read.
uint64_t CarefulReader::EndOfWithheld(uint64_t place) const
{
    return _limits.withheld != nullptr ? EndOfRangeAt(*_limits.withheld, place) : place;
}

bool CarefulReader::Remember(const BadRun &run) const
{
    const MutexLock lock(_mutex);
    _hasFaults = true;
    return _map.Add(run);
}

// How far beyond a run of bad sectors the next one that is tried ends.
uint64_t CarefulReader::Stride(uint64_t length) const
{
    return _limits.retries > 0 ? kSector
                               : std::clamp(SectorBelow(length / 8), kSector, kLongestStride);
}

// Of a stretch without known faults; returns up to where it was examined.
uint64_t CarefulReader::ReadStretch(uint64_t at, uint64_t end, Request *request) const
{
    if (_limits.slowMilliseconds > 0)
        end = std::min(end, SectorBelow(at) + kTimedPiece);
    const Attempt attempt = TryOnce(at, request->At(at), end - at);
    if (attempt.error == 0 && !attempt.isSlow)
        return end;
    if (attempt.error == ENOMEM) {  // says nothing about the disk
        request->GiveUp(at, end, ENOMEM);
        return end;
    }
    const MutexLock lock(_examining);
    if (attempt.isSlow && !IsGone())
        return LeaveSlow(at, end, attempt, request);
    const bool isNews = !RunAt(at) && NextBegin(at) >= end;
    return isNews ? ReadInPieces(at, end, EndOfGood(at, end, attempt), request) : at;
}

// After a piece that took too long. What was read before it failed is read once more, since how
// far it came is only a hint.
uint64_t CarefulReader::LeaveSlow(uint64_t at, uint64_t end, const Attempt &attempt,
                                  Request *request) const
{
    if (attempt.error == 0) {
        SkipFrom(end, at, end);
        return end;
    }
    uint64_t good = std::max(at, EndOfGood(at, end, attempt));
    if (good > at && TryOnce(at, request->At(at), good - at).error != 0)
        good = at;
    if (IsGone())
        return at;
    request->GiveUp(good, end, EIO);
    SkipFrom(good, at, end);
    return end;
}

// Gives up what follows end, and from begin on, after a slow read at a place.
void CarefulReader::SkipFrom(uint64_t begin, uint64_t slow, uint64_t end) const
{
    _skip = slow == _skippedTo ? std::min(2 * _skip, kLongestStride) : kTimedPiece;
    _skippedTo = std::max(end, std::min(end + _skip, _size));
    if (_skippedTo > begin)
        Remember({begin, _skippedTo, false});
}

// Up to the first bad sector and including it. hint: up to where it is probably good.
uint64_t CarefulReader::ReadInPieces(uint64_t at, uint64_t end, uint64_t hint,
                                     Request *request) const
{
    uint64_t piece = kSector;
    while (at < end && !IsGone()) {
        const bool isHint = hint > at;
        const uint64_t to = isHint ? hint : std::min(end, SectorBelow(at) + piece);
        const Attempt attempt = Try(at, request->At(at), to - at);
        const bool isGood = attempt.error == 0;
        if (attempt.isSlow && !IsGone())
            return LeaveSlow(at, to, attempt, request);
        if (!isGood && to <= SectorBelow(at) + kSector)
            return IsGone() ? at : GiveUpSector(at, to, request);
        hint = isGood || isHint ? at : EndOfGood(at, to, attempt);
        piece = isGood && !isHint ? 2 * piece : kSector;
        at = isGood ? to : at;
    }
    return at;
}

uint64_t CarefulReader::GiveUpSector(uint64_t at, uint64_t end, Request *request) const
{
    const uint64_t sector = SectorBelow(at);
    Remember({sector, std::min(sector + kSector, _size), true});
    request->GiveUp(at, end, EIO);
    return end;
}

// The run at this place, after it was followed beyond end, or to its own.
std::optional<BadRun> CarefulReader::Follow(uint64_t at, uint64_t end) const
{
    const MutexLock lock(_examining);
    auto run = RunAt(at);
    for (; run && run->isOpen && run->end < end && !IsGone(); run = RunAt(at))
        GoOn(*run);
    return run;
}

void CarefulReader::GoOn(const BadRun &run) const
{
    const bool isBeforeWithheld = EndOfWithheld(run.end) > run.end;
    const uint64_t limit = isBeforeWithheld ? run.end : std::min(_size, NextBegin(run.end));
    if (run.end >= limit) {
        Remember({run.begin, run.end, false});
        return;
    }
    const uint64_t last = std::max(run.end, SectorBelow(limit - 1));
    const uint64_t tried = std::min(run.end + Stride(run.end - run.begin) - kSector, last);
    const uint64_t after = std::min(tried + kSector, limit);
    const Attempt attempt = Probe(tried, after);
    if (IsGone())
        return;
    if (attempt.isSlow)
        SkipFrom(run.begin, tried, after);
    else if (attempt.error == 0)
        Remember({run.begin, EndOfRun(run.end, tried), false});
    else
        Remember({run.begin, after, true});
}

// Where a run ends: bad is its known end so far, and good lies beyond it.
uint64_t CarefulReader::EndOfRun(uint64_t bad, uint64_t good) const
{
    uint64_t piece = kScratchBytes;
    while (good > bad) {
        piece = std::min(piece, good - bad);
        const Attempt attempt = Probe(good - piece, good);
        if (attempt.isSlow)
            break;
        if (attempt.error == 0)
            good -= piece;
        else if (piece == kSector)
            break;
        else
            piece = std::max(kSector, SectorBelow(piece / 2));
    }
    return good;
}

CarefulReader::Attempt CarefulReader::Probe(uint64_t begin, uint64_t end) const
{
    _scratch.resize(kScratchBytes);
    return Try(begin, _scratch.data(), end - begin);
}

// A sector that fails alone is tried again, unless that would take too long.
CarefulReader::Attempt CarefulReader::Try(uint64_t offset, char *buffer, uint64_t count) const
{
    Attempt attempt = TryOnce(offset, buffer, count);
    const bool isAlone = offset + count <= SectorBelow(offset) + kSector;
    for (uint32_t again = 0; isAlone && again < _limits.retries; ++again) {
        if (attempt.error == 0 || attempt.error == ENOMEM || attempt.isSlow || IsGone())
            break;
        attempt = TryOnce(offset, buffer, count);
    }
    return attempt;
}

CarefulReader::Attempt CarefulReader::TryOnce(uint64_t offset, char *buffer, uint64_t count) const
{
    const auto limit = std::chrono::milliseconds(_limits.slowMilliseconds);
    const auto begin = limit.count() > 0 ? Clock::now() : Clock::time_point();
    Attempt attempt = {_raw.ReadOnce(offset, buffer, static_cast<size_t>(count))};
    attempt.isSlow = limit.count() > 0 && Clock::now() - begin > limit;
    if (attempt.error == 0 || (_raw.IsThere() && !MeansGone(attempt.error)))
        return attempt;
    _isGone = true;
    _hasFaults = true;
    return attempt;
}

}  // namespace vx
