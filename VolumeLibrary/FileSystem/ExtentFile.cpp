#include "ExtentFile.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using Runs = std::vector<FileRun>;

// The run that holds the position, or the next one.
Runs::const_iterator RunAt(const Runs &runs, uint64_t position)
{
    return std::lower_bound(
        runs.begin(), runs.end(), position,
        [](const FileRun &run, uint64_t wanted) { return run.position + run.length <= wanted; });
}

// A part of a file.
struct Piece {
    uint64_t position;
    uint32_t count;
};

// Where on the volume a part of the run lies.
uint64_t PlaceOf(const FileRun &run, const Piece &piece)
{
    return run.offset + (piece.position - run.position);
}

// Calls visit(run, piece) for the pieces that make up the part, each of which lies in one run, or
// in none: run is null then. False as soon as visit says so.
template <typename Visit>
bool VisitRuns(const Runs &runs, const Piece &part, Visit visit)
{
    const uint64_t end = part.position + part.count;
    auto run = RunAt(runs, part.position);
    for (uint64_t at = part.position; at < end;) {
        const bool isIn = run != runs.end() && run->position <= at;
        const uint64_t next = run == runs.end() ? end
                              : isIn            ? run->position + run->length
                                                : run->position;
        const auto count = static_cast<uint32_t>(std::min(end, next) - at);
        if (!visit(isIn ? &*run : nullptr, Piece{at, count}))
            return false;
        at += count;
        if (isIn)
            ++run;
    }
    return true;
}

// How many of count bytes at position have been written.
uint32_t WrittenOf(const FileExtents &extents, uint64_t position, uint32_t count)
{
    const uint64_t left = extents.initialised - std::min(extents.initialised, position);
    return static_cast<uint32_t>(std::min<uint64_t>(count, left));
}

}  // namespace

void AppendRun(const FileRun &run, Runs *runs)
{
    if (!runs->empty()) {
        FileRun &last = runs->back();
        const bool follows = last.position + last.length == run.position;
        const bool adjoins =
            run.kind == FileRun::Kind::kZeros || last.offset + last.length == run.offset;
        if (follows && adjoins && last.kind == run.kind) {
            last.length += run.length;
            return;
        }
    }
    runs->push_back(run);
}

bool ReadRuns(const ByteSource &source, const Runs &runs, uint64_t position, char *buffer,
              uint32_t count, uint32_t *done)
{
    return VisitRuns(runs, {position, count}, [&](const FileRun *run, const Piece &piece) {
        if (run == nullptr)
            return false;
        char *place = buffer + (piece.position - position);
        if (run->kind == FileRun::Kind::kZeros)
            std::memset(place, 0, piece.count);
        else if (source.ReadAt(PlaceOf(*run, piece), place, piece.count))
            return false;
        *done += piece.count;
        return true;
    });
}

void SalvageRuns(const ByteSource &source, const Runs &runs, uint64_t position, char *buffer,
                 uint32_t count, ByteRanges *unread)
{
    VisitRuns(runs, {position, count}, [&](const FileRun *run, const Piece &piece) {
        char *place = buffer + (piece.position - position);
        if (run != nullptr && run->kind == FileRun::Kind::kStored) {
            ByteRanges gaps;
            (void)source.Salvage(PlaceOf(*run, piece), place, piece.count, &gaps);
            AddMoved(gaps, PlaceOf(*run, piece), piece.position, unread);
            return true;
        }
        std::memset(place, 0, piece.count);
        if (run == nullptr)
            AddRange(piece.position, piece.count, unread);
        return true;
    });
}

bool ReadExtents(const ByteSource &source, const FileExtents &extents, uint64_t position,
                 char *buffer, uint32_t count, uint32_t *done)
{
    const uint32_t written = WrittenOf(extents, position, count);
    if (!ReadRuns(source, extents.runs, position, buffer, written, done))
        return false;
    if (written == count)  // perhaps nothing was asked for, into no buffer
        return true;
    std::memset(buffer + written, 0, count - written);
    *done += count - written;
    return true;
}

std::optional<std::vector<uint8_t>> ReadExtentBytes(const ByteSource &source,
                                                    const FileExtents &extents, uint64_t position,
                                                    uint32_t count)
{
    std::vector<uint8_t> bytes(count);
    uint32_t done = 0;
    if (!ReadExtents(source, extents, position, reinterpret_cast<char *>(bytes.data()), count,
                     &done))
        return std::nullopt;
    return bytes;
}

void SalvageExtents(const ByteSource &source, const FileExtents &extents, uint64_t position,
                    char *buffer, uint32_t count, ByteRanges *unread)
{
    const uint32_t written = WrittenOf(extents, position, count);
    SalvageRuns(source, extents.runs, position, buffer, written, unread);
    if (written < count)
        std::memset(buffer + written, 0, count - written);
}

void LocateRuns(const ByteSource &source, const Runs &runs, uint64_t end,
                const StoredPlaceVisitor &visit)
{
    for (const FileRun &run : runs) {
        if (run.position >= end)
            return;
        if (run.kind != FileRun::Kind::kStored)
            continue;
        const uint64_t length = std::min(run.length, end - run.position);
        source.Locate(run.offset, length, [&](StoredPlace place) {
            place.position = place.position - run.offset + run.position;
            visit(place);
        });
    }
}

uint64_t StoredBytes(const Runs &runs, uint64_t position, uint64_t count)
{
    uint64_t stored = 0;
    for (auto run = RunAt(runs, position); run != runs.end(); ++run) {
        if (run->position >= position + count)
            break;
        const uint64_t begin = std::max(run->position, position);
        const uint64_t end = std::min(run->position + run->length, position + count);
        if (run->kind == FileRun::Kind::kStored)
            stored += end - begin;
    }
    return stored;
}

bool AreCovered(const Runs &runs, uint64_t position, uint64_t count)
{
    const uint64_t end = position + count;
    for (auto run = RunAt(runs, position); position < end; ++run) {
        if (run == runs.end() || run->position > position)
            return false;
        position = run->position + run->length;
    }
    return true;
}

void ExtentFile::VisitPlaces(const StoredPlaceVisitor &visit) const
{
    LocateRuns(*_source, _extents.runs, std::min(_extents.initialised, _extents.size), visit);
}

uint32_t ExtentFile::ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread)
{
    const auto at = static_cast<uint64_t>(position);
    if (at >= _extents.size)
        return 0;
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(count, _extents.size - at));
    SalvageExtents(*_source, _extents, at, buffer, wanted, unread);
    return wanted;
}

}  // namespace vx
