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

Error DecryptedVolume::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = checkRange(size(), offset, count))
        return error;
    std::unique_ptr<ReadLane> lane = _lanes.take();
    if (lane == nullptr)
        return systemError(ENOMEM, "decrypt");
    const auto place = static_cast<uint8_t *>(buffer);
    Error error = readPieces(*lane, offset, place, count);
    _lanes.giveBack(std::move(lane));
    if (!error)
        applyPatches(offset, place, count);
    return error;
}

Error DecryptedVolume::readPieces(ReadLane &lane, uint64_t offset, uint8_t *place,
                                  size_t count) const
{
    const uint32_t sectorSize = _layout.sectorSize();
    while (count > 0) {
        const auto skip = static_cast<size_t>(offset % sectorSize);
        const Extent extent = _layout.extentAt(offset - skip);
        size_t piece = 0;
        Error error;
        if (skip > 0 || count < sectorSize) {
            piece = std::min<size_t>(count, sectorSize - skip);
            error = readPart(lane, extent, skip, place, piece);
        } else {
            piece =
                static_cast<size_t>(std::min<uint64_t>(count - count % sectorSize, extent.length));
            error = readSectors(lane, extent, place, piece);
        }
        if (error)
            return error;
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

Error DecryptedVolume::readPart(ReadLane &lane, const Extent &extent, size_t skip, uint8_t *place,
                                size_t count) const
{
    if (Error error = readSectors(lane, extent, lane.sector.data(), _layout.sectorSize()))
        return error;
    std::memcpy(place, lane.sector.data() + skip, count);
    return {};
}

Error DecryptedVolume::readSectors(ReadLane &lane, const Extent &extent, uint8_t *place,
                                   size_t count) const
{
    switch (extent.kind) {
    case Extent::Kind::Zeros:
        std::memset(place, 0, count);
        return {};
    case Extent::Kind::Plain:
        return _source->readAt(extent.stored, place, count);
    case Extent::Kind::Encrypted:
    case Extent::Kind::Interrupted:
        return readEncrypted(lane, extent, place, count);
    case Extent::Kind::Unknown:
        break;
    }
    return {Status::DamagedConversionMap,
            "it does not cover the place " + std::to_string(extent.stored)};
}

Error DecryptedVolume::readEncrypted(ReadLane &lane, const Extent &extent, uint8_t *place,
                                     size_t count) const
{
    if (lane.cipher == nullptr)
        return {Status::DamagedMetadata, "there are encrypted sectors but no key for them"};
    Extent run = extent;
    for (size_t done = 0; done < count; done += static_cast<size_t>(run.length)) {
        run.stored = extent.stored + done;
        run.length = std::min(count - done, SectorCipher::kLongestRun);
        const auto length = static_cast<size_t>(run.length);
        if (Error error = _source->readAt(run.stored, lane.stored.data(), length))
            return error;
        if (!lane.cipher->decrypt(run.stored, lane.stored.data(), place + done, length))
            return systemError(ENOMEM, "decrypt");
        if (run.kind == Extent::Kind::Interrupted)
            keepPlainSectors(lane, run, place + done, length);
    }
    return {};
}

// Of a run in an interrupted chunk, all of which was decrypted: puts the sectors back that had
// not been encrypted.
void DecryptedVolume::keepPlainSectors(ReadLane &lane, const Extent &extent, uint8_t *place,
                                       size_t count) const
{
    const uint32_t sectorSize = _layout.sectorSize();
    const uint64_t first = (extent.stored - extent.chunk->offset) / sectorSize;
    for (size_t at = 0; at < count; at += sectorSize) {
        const uint8_t *saved = extent.chunk->saved.data() + (first + at / sectorSize) * kSavedBytes;
        const uint8_t *stored = lane.stored.data() + at;
        if (std::memcmp(saved, stored, kSavedBytes) != 0)
            std::memcpy(place + at, stored, sectorSize);
    }
}

void DecryptedVolume::applyPatches(uint64_t offset, uint8_t *place, size_t count) const
{
    for (const Patch &patch : _patches)
        for (size_t i = 0; i < patch.bytes.size(); ++i)
            if (patch.offset + i >= offset && patch.offset + i - offset < count)
                place[patch.offset + i - offset] = patch.bytes[i];
}

}  // namespace vx::bitlocker
