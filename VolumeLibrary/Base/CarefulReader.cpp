#include "CarefulReader.h"

#include "GoneErrors.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kSector = CarefulReader::kSector;
constexpr uint64_t kScratchBytes = uint64_t{64} << 10;

uint64_t SectorBelow(uint64_t place)
{
    return place / kSector * kSector;
}

// How far beyond a run of bad sectors the next one that is tried ends.
uint64_t Stride(uint64_t length)
{
    return std::clamp(SectorBelow(length / 8), kSector, CarefulReader::kLongestStride);
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
        if (stretch.isBad)
            request.GiveUp(at, stretch.end, IsGone() ? ENODEV : EIO);
        at = stretch.isBad ? stretch.end : ReadStretch(at, stretch.end, &request);
    }
    return request.error;
}

// What is known of the bytes from this place on.
CarefulReader::Stretch CarefulReader::StretchAt(uint64_t at, uint64_t end) const
{
    if (!_hasFaults.load(std::memory_order_relaxed))
        return {end, false};
    auto run = RunAt(at);
    if (run && run->isOpen && run->end < end)
        run = Follow(at, end);
    if (IsGone())
        return {end, true};
    if (run && run->end > at)
        return {std::min(end, run->end), true};
    return {std::min(end, NextBegin(at)), false};
}

std::optional<BadRun> CarefulReader::RunAt(uint64_t place) const
{
    const MutexLock lock(_mutex);
    return _map.At(place);
}

uint64_t CarefulReader::NextBegin(uint64_t place) const
{
    const MutexLock lock(_mutex);
    return _map.NextBegin(place);
}

bool CarefulReader::Remember(const BadRun &run) const
{
    const MutexLock lock(_mutex);
    _hasFaults = true;
    return _map.Add(run);
}

// Of a stretch without known faults; returns up to where it was examined.
uint64_t CarefulReader::ReadStretch(uint64_t at, uint64_t end, Request *request) const
{
    const RawReader::Outcome outcome = ReadOnce(at, request->At(at), end - at);
    if (outcome.error == 0)
        return end;
    if (outcome.error == ENOMEM) {  // says nothing about the disk
        request->GiveUp(at, end, ENOMEM);
        return end;
    }
    const MutexLock lock(_examining);
    const bool isNews = !RunAt(at) && NextBegin(at) >= end;
    return isNews ? ReadInPieces(at, end, EndOfGood(at, end, outcome), request) : at;
}

// Up to the first bad sector and including it. hint: up to where it is probably good.
uint64_t CarefulReader::ReadInPieces(uint64_t at, uint64_t end, uint64_t hint,
                                     Request *request) const
{
    uint64_t piece = kSector;
    while (at < end && !IsGone()) {
        const bool isHint = hint > at;
        const uint64_t to = isHint ? hint : std::min(end, SectorBelow(at) + piece);
        const RawReader::Outcome outcome = ReadOnce(at, request->At(at), to - at);
        const bool isGood = outcome.error == 0;
        if (!isGood && to <= SectorBelow(at) + kSector)
            return IsGone() ? at : GiveUpSector(at, to, request);
        hint = isGood || isHint ? at : EndOfGood(at, to, outcome);
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
    if (run.end >= _size) {
        Remember({run.begin, run.end, false});
        return;
    }
    const uint64_t last = std::min(SectorBelow(_size - 1), NextBegin(run.end) - kSector);
    const uint64_t tried = std::min(run.end + Stride(run.end - run.begin) - kSector, last);
    const uint64_t after = std::min(tried + kSector, _size);
    if (IsReadable(tried, after))
        Remember({run.begin, EndOfRun(run.end, tried), false});
    else if (!IsGone())
        Remember({run.begin, after, true});
}

// Where a run ends: bad is its known end so far, and good lies beyond it.
uint64_t CarefulReader::EndOfRun(uint64_t bad, uint64_t good) const
{
    uint64_t piece = kScratchBytes;
    while (good > bad) {
        piece = std::min(piece, good - bad);
        if (IsReadable(good - piece, good))
            good -= piece;
        else if (piece == kSector)
            break;
        else
            piece = std::max(kSector, SectorBelow(piece / 2));
    }
    return good;
}

bool CarefulReader::IsReadable(uint64_t begin, uint64_t end) const
{
    _scratch.resize(kScratchBytes);
    return ReadOnce(begin, _scratch.data(), end - begin).error == 0;
}

RawReader::Outcome CarefulReader::ReadOnce(uint64_t offset, char *buffer, uint64_t count) const
{
    const RawReader::Outcome outcome = _raw.ReadOnce(offset, buffer, static_cast<size_t>(count));
    if (outcome.error == 0 || (_raw.IsThere() && !MeansGone(outcome.error)))
        return outcome;
    _isGone = true;
    _hasFaults = true;
    return outcome;
}

}  // namespace vx
