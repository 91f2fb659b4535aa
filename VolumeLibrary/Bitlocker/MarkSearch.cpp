#include "MarkSearch.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr uint64_t kPieceBytes = 1024 * 1024;
constexpr size_t kNameAt = 3;  // in the first sector of a volume
constexpr char kSignature[] = "-FVE-FS-";
constexpr char kToGoName[] = "MSWIN4.1";
constexpr char kConversion[] = "FVE-EOW";  // with its final zero

// Of eight bytes.
bool HasMark(const uint8_t *place, const char (&mark)[9])
{
    return std::memcmp(place, mark, 8) == 0;
}

}  // namespace

bool BeginsMetadata(const uint8_t *sector)
{
    return HasMark(sector, kSignature);
}

bool BeginsVolumeOrMetadata(const uint8_t *sector)
{
    return BeginsMetadata(sector) || HasMark(sector + kNameAt, kSignature) ||
           HasMark(sector + kNameAt, kToGoName);
}

bool BeginsConversion(const uint8_t *sector)
{
    return std::memcmp(sector, kConversion, sizeof kConversion) == 0;
}

// What cannot be read is zeros.
Error MarkSearch::ReadPiece(uint64_t offset, std::vector<uint8_t> *piece)
{
    ByteRanges unread;
    Error error = _source.Salvage(offset, piece->data(), piece->size(), &unread);
    for (const ByteRange &range : unread)
        _unreadBytes += range.length;
    const bool isGone = error.status == Status::kSystemError && error.systemError == ENODEV;
    return isGone ? error : Error();
}

// The first one that may hold data; end if there is none.
uint64_t MarkSearch::NextSector(uint64_t offset, uint64_t end) const
{
    const uint64_t data = offset < end ? std::min(_source.NextData(offset), end) : end;
    return data < end ? std::max(offset, data - data % kSectorBytes) : end;
}

Error MarkSearch::Visit(ByteRange range, IsMarked isMarked, const Visitor &visit)
{
    const uint64_t size = _source.Size();
    const uint64_t begin = std::min(range.offset, size);
    const uint64_t end = begin + std::min(range.length, size - begin);
    StepProgress progress(_progress, VolumeOpeningStep::kSearching, end - begin);
    std::vector<uint8_t> piece;
    for (uint64_t at = NextSector(begin, end); at < end; at = NextSector(at + piece.size(), end)) {
        if (IsCancelled(_cancel))
            return {Status::kCancelled, ""};
        piece.resize(static_cast<size_t>(std::min(kPieceBytes, end - at)));
        if (Error error = ReadPiece(at, &piece))
            return error;
        for (size_t sector = 0; sector + kSectorBytes <= piece.size(); sector += kSectorBytes) {
            const uint8_t *bytes = piece.data() + sector;
            if (isMarked(bytes) && !visit(at + sector, {bytes, kSectorBytes}))
                return {};
        }
        progress.Report(at + piece.size() - begin);
    }
    return {};
}

}  // namespace vx::bitlocker
