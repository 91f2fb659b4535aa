#include "DecryptedVolume.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr size_t kSavedBytes = 16;

}  // namespace

DecryptedVolume::DecryptedVolume(std::shared_ptr<const ByteSource> source, VolumeLayout layout,
                                 std::unique_ptr<SectorCipher> cipher, std::vector<Patch> patches)
    : _source(std::move(source)),
      _layout(std::move(layout)),
      _patches(std::move(patches)),
      _lanes(std::move(cipher))
{
}

bool DecryptedVolume::IsEncrypted(uint64_t offset) const
{
    return offset < Size() &&
           _layout.ExtentAt(offset - offset % SectorSize()).kind == Extent::Kind::kEncrypted;
}

bool DecryptedVolume::IsBlank(uint64_t offset) const
{
    if (offset >= Size())
        return false;
    std::vector<uint8_t> stored(SectorSize());
    const uint64_t begin = _layout.ExtentAt(offset - offset % SectorSize()).stored;
    const bool isRead = !_source->ReadAt(begin, stored.data(), stored.size());
    return isRead &&
           std::all_of(stored.begin(), stored.end(), [](uint8_t byte) { return byte == 0; });
}

Error DecryptedVolume::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    return ReadBySalvage(offset, buffer, count);
}

void DecryptedVolume::Locate(uint64_t offset, uint64_t length,
                             const StoredPlaceVisitor &visit) const
{
    const uint32_t sectorSize = _layout.SectorSize();
    const uint64_t end = offset + std::min(length, Size() - std::min(Size(), offset));
    for (uint64_t at = offset - offset % sectorSize; at < end;) {
        const Extent extent = _layout.ExtentAt(at);
        const uint64_t needed = (end - at + sectorSize - 1) / sectorSize * sectorSize;
        const uint64_t count = std::min(extent.length, needed);
        const bool isStored =
            extent.kind != Extent::Kind::kZeros && extent.kind != Extent::Kind::kUnknown;
        if (isStored)
            _source->Locate(extent.stored, count, [&](StoredPlace place) {
                place.position = std::max(offset, place.position - extent.stored + at);
                visit(place);
            });
        at += count;
    }
}

Error DecryptedVolume::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                     ByteRanges *gaps) const
{
    const Piece whole = {offset, static_cast<uint8_t *>(buffer), count};
    ByteRanges unread;
    Error error;
    if (std::unique_ptr<ReadLane> lane = _lanes.Take()) {
        error = ReadPieces(*lane, whole, &unread);
        _lanes.GiveBack(std::move(lane));
        ApplyPatches(offset, whole.place, count);
    } else {
        error = SystemError(ENOMEM, "decrypt");
        AddRange(offset, count, &unread);
    }
    for (const ByteRange &gap : unread)
        std::memset(whole.place + (gap.offset - offset), 0, static_cast<size_t>(gap.length));
    AddMoved(unread, 0, 0, gaps);
    return error;
}

Error DecryptedVolume::ReadPieces(ReadLane &lane, Piece whole, ByteRanges *gaps) const
{
    const uint32_t sectorSize = _layout.SectorSize();
    Error first;
    while (whole.count > 0) {
        const auto skip = static_cast<size_t>(whole.offset % sectorSize);
        const Extent extent = _layout.ExtentAt(whole.offset - skip);
        const bool isPart = skip > 0 || whole.count < sectorSize;
        Piece piece = whole;
        piece.count = isPart ? std::min<size_t>(whole.count, sectorSize - skip)
                             : static_cast<size_t>(std::min<uint64_t>(
                                   whole.count - whole.count % sectorSize, extent.length));
        Error error =
            isPart ? ReadPart(lane, extent, piece, gaps) : ReadSectors(lane, extent, piece, gaps);
        if (error && !first)
            first = std::move(error);
        whole = {whole.offset + piece.count, whole.place + piece.count, whole.count - piece.count};
    }
    return first;
}

Error DecryptedVolume::ReadPart(ReadLane &lane, const Extent &extent, const Piece &part,
                                ByteRanges *gaps) const
{
    const auto skip = static_cast<size_t>(part.offset % _layout.SectorSize());
    ByteRanges unread;
    Error error = ReadSectors(
        lane, extent, {part.offset - skip, lane.sector.Data(), _layout.SectorSize()}, &unread);
    std::memcpy(part.place, lane.sector.Data() + skip, part.count);
    AddWithin(unread, {part.offset, part.count}, gaps);
    return error;
}

Error DecryptedVolume::ReadSectors(ReadLane &lane, const Extent &extent, const Piece &piece,
                                   ByteRanges *gaps) const
{
    switch (extent.kind) {
    case Extent::Kind::kZeros:
        std::memset(piece.place, 0, piece.count);
        return {};
    case Extent::Kind::kPlain: {
        ByteRanges stored;
        Error error = _source->Salvage(extent.stored, piece.place, piece.count, &stored);
        AddMoved(stored, extent.stored, piece.offset, gaps);
        return error;
    }
    case Extent::Kind::kEncrypted:
    case Extent::Kind::kInterrupted:
        return ReadEncrypted(lane, extent, piece, gaps);
    case Extent::Kind::kUnknown:
        break;
    }
    AddRange(piece.offset, piece.count, gaps);
    return {Status::kDamagedConversionMap,
            "it does not cover the place " + std::to_string(extent.stored)};
}

Error DecryptedVolume::ReadEncrypted(ReadLane &lane, const Extent &extent, const Piece &piece,
                                     ByteRanges *gaps) const
{
    if (lane.cipher == nullptr) {
        AddRange(piece.offset, piece.count, gaps);
        return {Status::kDamagedMetadata, "there are encrypted sectors but no key for them"};
    }
    Extent run = extent;
    Error first;
    for (size_t done = 0; done < piece.count; done += static_cast<size_t>(run.length)) {
        run.stored = extent.stored + done;
        run.length = std::min(piece.count - done, SectorCipher::kLongestRun);
        Error error = ReadRun(
            lane, run, {piece.offset + done, piece.place + done, static_cast<size_t>(run.length)},
            gaps);
        if (error && !first)
            first = std::move(error);
    }
    return first;
}

// run: of the length of the piece, SectorCipher::kLongestRun at most.
Error DecryptedVolume::ReadRun(ReadLane &lane, const Extent &run, const Piece &piece,
                               ByteRanges *gaps) const
{
    ByteRanges stored;
    Error error = _source->Salvage(run.stored, lane.stored.Data(), piece.count, &stored);
    if (!lane.cipher->Decrypt(run.stored, lane.stored.Data(), piece.place, piece.count)) {
        AddRange(piece.offset, piece.count, gaps);
        return SystemError(ENOMEM, "decrypt");
    }
    if (run.kind == Extent::Kind::kInterrupted)
        KeepPlainSectors(lane, run, piece.place, piece.count);
    AddSectors(stored, run.stored, piece, gaps);
    return error;
}

// The sectors of the piece that contain the gaps; the piece is stored at begin.
void DecryptedVolume::AddSectors(const ByteRanges &stored, uint64_t begin, const Piece &piece,
                                 ByteRanges *gaps) const
{
    const uint32_t sectorSize = _layout.SectorSize();
    uint64_t added = 0;
    for (const ByteRange &gap : stored) {
        const uint64_t from = gap.offset - begin;
        const uint64_t first = std::max(added, from - from % sectorSize);
        const uint64_t last = (from + gap.length - 1) / sectorSize * sectorSize;
        added = std::max(added, last + sectorSize);
        AddRange(piece.offset + first, added - first, gaps);
    }
}

// Of a run in an interrupted chunk, all of which was decrypted: puts the sectors back that had
// not been encrypted.
void DecryptedVolume::KeepPlainSectors(ReadLane &lane, const Extent &extent, uint8_t *place,
                                       size_t count) const
{
    const uint32_t sectorSize = _layout.SectorSize();
    const uint64_t first = (extent.stored - extent.chunk->offset) / sectorSize;
    for (size_t at = 0; at < count; at += sectorSize) {
        const uint8_t *saved = extent.chunk->saved.data() + (first + at / sectorSize) * kSavedBytes;
        const uint8_t *stored = lane.stored.Data() + at;
        if (std::memcmp(saved, stored, kSavedBytes) != 0)
            std::memcpy(place + at, stored, sectorSize);
    }
}

void DecryptedVolume::ApplyPatches(uint64_t offset, uint8_t *place, size_t count) const
{
    for (const Patch &patch : _patches)
        for (size_t i = 0; i < patch.bytes.size(); ++i)
            if (patch.offset + i >= offset && patch.offset + i - offset < count)
                place[patch.offset + i - offset] = patch.bytes[i];
}

}  // namespace vx::bitlocker
