#include "NtfsParents.h"

#include "NtfsIndexBlock.h"

#include <algorithm>
#include <limits>

namespace vx {
namespace {

constexpr uint64_t kPieceBytes = uint64_t{256} << 10;
// No NTFS volume has more files.
constexpr uint64_t kMostRecords = std::numeric_limits<uint32_t>::max();

}  // namespace

NtfsParents::NtfsParents(std::shared_ptr<const ByteSource> volume, const NtfsMft &mft)
    : _volume(std::move(volume)), _mft(mft)
{
}

std::vector<uint32_t> NtfsParents::FilesIn(uint64_t folder) const
{
    std::vector<uint32_t> files;
    if (folder > kMostRecords)
        return files;
    const MutexLock lock(_mutex);
    if (!_isCollected)
        _pairs = Collect();
    _isCollected = true;
    for (auto pair = std::lower_bound(_pairs.begin(), _pairs.end(), folder << 32);
         pair != _pairs.end() && *pair >> 32 == folder; ++pair)
        files.push_back(static_cast<uint32_t>(*pair));
    return files;
}

NtfsParents::Pairs NtfsParents::Collect() const
{
    Pairs pairs;
    const FileExtents &table = _mft.Table();
    uint64_t budget = _volume->Size();
    uint64_t next = 0;
    for (const FileRun &run : table.runs) {
        if (run.kind != FileRun::Kind::kStored || run.length > budget)
            continue;
        budget -= run.length;
        CollectRun(run, &next, &pairs);
    }
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

// next: the first record that was not examined yet, since one may lie in two runs.
void NtfsParents::CollectRun(const FileRun &run, uint64_t *next, Pairs *pairs) const
{
    const FileExtents &table = _mft.Table();
    const uint64_t recordBytes = _mft.Geometry().recordBytes;
    const uint64_t written = std::min(table.initialised, table.size) / recordBytes;
    const uint64_t end = std::min(
        {(run.position + run.length + recordBytes - 1) / recordBytes, written, kMostRecords});
    *next = std::max(*next, run.position / recordBytes);
    for (; *next < end; *next += std::min(end - *next, kPieceBytes / recordBytes))
        CollectPiece(*next, std::min(end - *next, kPieceBytes / recordBytes), pairs);
}

void NtfsParents::CollectPiece(uint64_t first, uint64_t count, Pairs *pairs) const
{
    const auto recordBytes = static_cast<std::ptrdiff_t>(_mft.Geometry().recordBytes);
    const auto piece = ReadRecords(first, count);
    for (uint64_t i = 0; i < count; ++i) {
        if (piece) {
            const auto at = piece->begin() + static_cast<std::ptrdiff_t>(i) * recordBytes;
            CollectRecord(first + i, {at, at + recordBytes}, pairs);
        } else if (auto record = ReadRecords(first + i, 1)) {
            CollectRecord(first + i, std::move(*record), pairs);
        }
    }
}

void NtfsParents::CollectRecord(uint64_t number, std::vector<uint8_t> bytes, Pairs *pairs) const
{
    if (!ApplyNtfsFixups(&bytes))
        return;
    const auto record = NtfsRecord::Parse(std::move(bytes));
    if (!record)
        return;
    const uint64_t file = record->Base() == 0 ? number : NtfsNumber(record->Base());
    if (file < kFirstOrdinary || file > kMostRecords)
        return;
    for (size_t others = 0; pairs->size() < kMostNames; ++others) {
        const auto attribute = record->Find(NtfsType::kFileName, {}, 0, others);
        if (!attribute)
            return;
        const auto name = NtfsIndexName::Parse(attribute->value);
        const uint64_t parent = name ? NtfsNumber(name->parent) : 0;
        if (name && !name->isShortName && parent <= kMostRecords)
            pairs->push_back(parent << 32 | file);
    }
}

std::optional<std::vector<uint8_t>> NtfsParents::ReadRecords(uint64_t first, uint64_t count) const
{
    const uint64_t recordBytes = _mft.Geometry().recordBytes;
    return ReadExtentBytes(*_volume, _mft.Table(), first * recordBytes,
                           static_cast<uint32_t>(count * recordBytes));
}

}  // namespace vx
