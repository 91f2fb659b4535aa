#include "ExtentFile.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using Runs = std::vector<Extent>;

// The run that holds the position, or the next one.
Runs::const_iterator RunAt(const Runs &runs, uint64_t position)
{
    return std::lower_bound(
        runs.begin(), runs.end(), position,
        [](const Extent &run, uint64_t wanted) { return run.position + run.length <= wanted; });
}

}  // namespace

void AppendExtent(const Extent &extent, std::vector<Extent> *extents)
{
    if (!extents->empty()) {
        Extent &last = extents->back();
        const bool follows = last.position + last.length == extent.position;
        const bool adjoins =
            extent.kind == Extent::Kind::kZeros || last.offset + last.length == extent.offset;
        if (follows && adjoins && last.kind == extent.kind) {
            last.length += extent.length;
            return;
        }
    }
    extents->push_back(extent);
}

bool ReadRuns(const bitlocker::ByteSource &source, const Runs &runs, uint64_t position,
              char *buffer, uint32_t count, uint32_t *done)
{
    const uint32_t before = *done;
    auto run = RunAt(runs, position);
    for (; *done - before < count; ++run) {
        const uint64_t at = position + (*done - before);
        if (run == runs.end() || run->position > at)
            return false;
        const uint64_t skip = at - run->position;
        const auto piece =
            static_cast<uint32_t>(std::min<uint64_t>(count - (*done - before), run->length - skip));
        if (run->kind == Extent::Kind::kZeros)
            std::memset(buffer, 0, piece);
        else if (source.readAt(run->offset + skip, buffer, piece))
            return false;
        buffer += piece;
        *done += piece;
    }
    return true;
}

bool ReadExtents(const bitlocker::ByteSource &source, const FileExtents &extents, uint64_t position,
                 char *buffer, uint32_t count, uint32_t *done)
{
    const uint64_t left = extents.initialised - std::min(extents.initialised, position);
    const auto written = static_cast<uint32_t>(std::min<uint64_t>(count, left));
    if (!ReadRuns(source, extents.runs, position, buffer, written, done))
        return false;
    if (written == count)  // perhaps nothing was asked for, into no buffer
        return true;
    std::memset(buffer + written, 0, count - written);
    *done += count - written;
    return true;
}

uint64_t StoredBytes(const Runs &runs, uint64_t position, uint64_t count)
{
    uint64_t stored = 0;
    for (auto run = RunAt(runs, position); run != runs.end(); ++run) {
        if (run->position >= position + count)
            break;
        const uint64_t begin = std::max(run->position, position);
        const uint64_t end = std::min(run->position + run->length, position + count);
        if (run->kind == Extent::Kind::kStored)
            stored += end - begin;
    }
    return stored;
}

bool ExtentFile::ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    const auto at = static_cast<uint64_t>(position);
    if (at >= _extents.size)
        return true;
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(count, _extents.size - at));
    return ReadExtents(*_source, _extents, at, buffer, wanted, done);
}

}  // namespace vx
