#include "EwfSource.h"

#include "ByteReader.h"
#include "ZlibStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vx {
namespace {

constexpr size_t kEntryBytes = 4;
constexpr size_t kChecksumBytes = 4;

Error Damaged(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

Error AtPlace(Error error, uint64_t offset, const std::string &file)
{
    if (error.status == Status::kTruncatedImage)
        error = Damaged("it ends early");
    error.detail = "read at " + std::to_string(offset) + ": " + file + ": " + error.detail;
    return error;
}

}  // namespace

EwfSource::EwfSource(std::vector<EwfFile> files, EwfLayout layout)
    : _files(std::move(files)),
      _layout(std::move(layout)),
      _entries(_layout.tables.size()),
      _tableFailures(_layout.tables.size())
{
}

Error EwfSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    if (Error error = ReadChunks(offset, static_cast<uint8_t *>(buffer), count))
        return error;
    return CheckLost(offset, count);
}

Error EwfSource::ReadChunks(uint64_t offset, uint8_t *place, size_t count) const
{
    while (count > 0) {
        const uint64_t number = offset / _layout.chunkBytes;
        const auto skip = static_cast<size_t>(offset % _layout.chunkBytes);
        const size_t piece = std::min<size_t>(count, _layout.chunkBytes - skip);
        Error error = piece == _layout.chunkBytes ? LoadChunk(number, place)
                                                  : CopyPart(number, skip, place, piece);
        if (error)
            return error;
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

// Checks whole sectors, since part of a good one may well be zeros.
Error EwfSource::CheckLost(uint64_t offset, size_t count) const
{
    const uint64_t sectorBytes = _layout.sectorBytes;
    auto range = std::lower_bound(
        _layout.lost.begin(), _layout.lost.end(), offset,
        [](const ByteRange &lost, uint64_t wanted) { return lost.offset + lost.length <= wanted; });
    std::vector<uint8_t> sector;
    for (; range != _layout.lost.end() && range->offset < offset + count; ++range) {
        const uint64_t end = std::min(range->offset + range->length, offset + count);
        uint64_t at = std::max(range->offset, offset / sectorBytes * sectorBytes);
        for (; at < end; at += sectorBytes) {
            sector.resize(static_cast<size_t>(sectorBytes));
            if (Error error = ReadChunks(at, sector.data(), sector.size()))
                return error;
            if (std::all_of(sector.begin(), sector.end(), [](uint8_t byte) { return byte == 0; }))
                return AtPlace(Damaged("it could not be read when the image was made"), at,
                               _files.front().name);
        }
    }
    return {};
}

Error EwfSource::CopyPart(uint64_t number, size_t skip, uint8_t *place, size_t count) const
{
    const MutexLock lock(_mutex);
    if (number != _kept) {
        _kept = kNone;
        _chunk.resize(_layout.chunkBytes);
        if (Error error = LoadChunk(number, _chunk.data()))
            return error;
        _kept = number;
    }
    std::memcpy(place, _chunk.data() + skip, count);
    return {};
}

Error EwfSource::LoadChunk(uint64_t number, uint8_t *place) const
{
    Error error = TryChunk(number, place);
    if (error)
        CountFailure(number);
    return error;
}

bool EwfSource::IsGivenUp(uint64_t number) const
{
    const MutexLock lock(_failuresMutex);
    const auto counted = _failures.find(number);
    return counted != _failures.end() && counted->second >= kMostTries;
}

void EwfSource::CountFailure(uint64_t number) const
{
    const MutexLock lock(_failuresMutex);
    const auto counted = _failures.find(number);
    if (counted == _failures.end() && _failures.size() < kMostCounted)
        _failures.emplace(number, uint8_t{1});
    else if (counted != _failures.end() && counted->second < kMostTries)
        ++counted->second;
}

Error EwfSource::TryChunk(uint64_t number, uint8_t *place) const
{
    const uint64_t begin = number * _layout.chunkBytes;
    if (number >= _layout.chunks)
        return AtPlace(Damaged("no part of the image holds it"), begin, _files.back().name);
    const auto after = std::upper_bound(
        _layout.tables.begin(), _layout.tables.end(), number,
        [](uint64_t chunk, const EwfTable &table) { return chunk < table.firstChunk; });
    const EwfTable &table = *std::prev(after);
    if (IsGivenUp(number))
        return AtPlace(Damaged("a chunk of it cannot be read"), begin, _files[table.file].name);
    Error error = LoadListed(table, number, place);
    return error ? AtPlace(std::move(error), begin, _files[table.file].name) : error;
}

Error EwfSource::LoadListed(const EwfTable &table, uint64_t number, uint8_t *place) const
{
    constexpr uint32_t kIsPacked = uint32_t{1} << 31;
    const ByteSource &file = *_files[table.file].source;
    const auto entriesAt = FindEntries(table);
    if (!entriesAt)
        return entriesAt.Failure();
    uint8_t bytes[kEntryBytes];
    const uint64_t at = *entriesAt + (number - table.firstChunk) * kEntryBytes;
    if (Error error = file.ReadAt(at, bytes, sizeof bytes))
        return error;
    const uint32_t entry = U32At({bytes, sizeof bytes}, 0);
    const uint32_t place31 = entry & ~kIsPacked;
    if (table.base > file.Size())
        return Damaged("a table of it is damaged");
    if (place31 == entry)
        return LoadPlain(table, table.base + entry, number, place);
    Error error = LoadPacked(table, table.base + place31, number, place);
    if (!error || file.Size() - table.base <= entry)
        return error;
    return LoadPlain(table, table.base + entry, number, place);
}

Result<uint64_t> EwfSource::FindEntries(const EwfTable &table) const
{
    const auto index = static_cast<size_t>(&table - _layout.tables.data());
    std::atomic<Entries> &which = _entries[index];
    if (which == Entries::kLost)
        return Damaged("a table of it cannot be read");
    if (which == Entries::kUnknown) {
        Error error = CheckEntries(table, table.entriesAt);
        if (!error)
            which = Entries::kFirst;
        else if (table.copyAt != 0 && !CheckEntries(table, table.copyAt))
            which = Entries::kCopy;
        else {
            // Another thread may have read them meanwhile.
            Entries unknown = Entries::kUnknown;
            if (++_tableFailures[index] >= kMostTries)
                which.compare_exchange_strong(unknown, Entries::kLost);
            return error;
        }
    }
    return which == Entries::kFirst ? table.entriesAt : table.copyAt;
}

Error EwfSource::CheckEntries(const EwfTable &table, uint64_t at) const
{
    if (!_layout.hasChecksums)
        return {};
    std::array<uint8_t, size_t{16} << 10> bytes;
    const ByteSource &file = *_files[table.file].source;
    uint32_t sum = 1;
    for (uint64_t left = uint64_t{table.count} * kEntryBytes; left > 0;) {
        const auto piece = static_cast<size_t>(std::min<uint64_t>(left, bytes.size()));
        if (Error error = file.ReadAt(at, bytes.data(), piece))
            return error;
        sum = Adler32({bytes.data(), piece}, sum);
        at += piece;
        left -= piece;
    }
    if (Error error = file.ReadAt(at, bytes.data(), kChecksumBytes))
        return error;
    return U32At({bytes.data(), kChecksumBytes}, 0) == sum ? Error{}
                                                           : Damaged("a table of it is damaged");
}

// The limit of the input is for streams of empty blocks, which could be as long as the file.
Error EwfSource::LoadPacked(const EwfTable &table, uint64_t at, uint64_t number,
                            uint8_t *place) const
{
    constexpr uint64_t kSlack = 1024;
    const ByteSource &file = *_files[table.file].source;
    const uint64_t end = std::min(file.Size(), at + 2 * uint64_t{_layout.chunkBytes} + kSlack);
    const auto unpacked = UnpackZlib(file, {at, end}, place, _layout.chunkBytes);
    if (!unpacked)
        return unpacked.Failure();
    return *unpacked >= LengthOf(number) ? Error{} : Damaged("a chunk of it is too short");
}

// Some programs store the last chunk in full, others up to the end of the disk.
Error EwfSource::LoadPlain(const EwfTable &table, uint64_t at, uint64_t number,
                           uint8_t *place) const
{
    const ByteSource &file = *_files[table.file].source;
    const size_t needed = LengthOf(number);
    for (const size_t length : {needed, size_t{_layout.chunkBytes}}) {
        uint8_t checksum[kChecksumBytes];
        if (Error error = file.ReadAt(at, place, length))
            return error;
        if (Error error = file.ReadAt(at + length, checksum, sizeof checksum))
            return error;
        if (Adler32({place, length}) == U32At({checksum, sizeof checksum}, 0))
            return {};
    }
    return Damaged("a chunk of it does not fit its checksum");
}

size_t EwfSource::LengthOf(uint64_t number) const
{
    const uint64_t left = _layout.diskBytes - number * _layout.chunkBytes;
    return static_cast<size_t>(std::min<uint64_t>(left, _layout.chunkBytes));
}

}  // namespace vx
