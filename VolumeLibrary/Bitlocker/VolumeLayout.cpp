#include "VolumeLayout.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

Extent::Kind KindOf(ConversionMap::State state)
{
    switch (state) {
    case ConversionMap::State::kPlain:
        return Extent::Kind::kPlain;
    case ConversionMap::State::kEncrypted:
        return Extent::Kind::kEncrypted;
    case ConversionMap::State::kInterrupted:
        return Extent::Kind::kInterrupted;
    case ConversionMap::State::kUnknown:
        break;
    }
    return Extent::Kind::kUnknown;
}

}  // namespace

VolumeLayout::VolumeLayout(const MetadataBlock &block, uint32_t sectorSize, uint64_t size,
                           std::optional<ConversionMap> map)
    : _vista(block.version == 1),
      _sectorSize(sectorSize),
      _size(size),
      _encryptedSize(_vista ? UINT64_MAX : block.encryptedSize),
      _relocatedLength(static_cast<uint64_t>(block.relocatedSectors) * sectorSize),
      _relocationOffset(block.relocationOffset),
      _map(std::move(map))
{
    for (uint64_t copy : block.copies)
        Hide(copy, block.AreaSize());
    Hide(_relocationOffset, _relocatedLength);
}

uint64_t VolumeLayout::RoundedUp(uint64_t offset) const
{
    const uint64_t over = offset % _sectorSize;
    if (over == 0)
        return offset;
    return offset > UINT64_MAX - _sectorSize ? UINT64_MAX : offset - over + _sectorSize;
}

// A sector is hidden if its first byte is.
void VolumeLayout::Hide(uint64_t begin, uint64_t length)
{
    const uint64_t end = begin > UINT64_MAX - length ? UINT64_MAX : begin + length;
    if (length > 0 && begin < _size)
        _hidden.push_back({RoundedUp(begin), RoundedUp(end)});
}

// Sets the kind of an extent from where it is stored, and shortens it to where that holds.
void VolumeLayout::ApplyState(Extent &extent) const
{
    if (_map) {
        const ConversionMap::Run run = _map->RunAt(extent.stored);
        extent.kind = KindOf(run.state);
        extent.chunk = run.chunk;
        extent.length = std::min(extent.length, RoundedUp(run.end - extent.stored));
        return;
    }
    extent.kind = extent.stored < _encryptedSize ? Extent::Kind::kEncrypted : Extent::Kind::kPlain;
    if (extent.kind == Extent::Kind::kEncrypted)
        extent.length = std::min(extent.length, RoundedUp(_encryptedSize - extent.stored));
}

Extent VolumeLayout::ExtentAt(uint64_t offset) const
{
    uint64_t end = _size;
    for (const Range &hidden : _hidden) {
        if (offset >= hidden.begin && offset < hidden.end)
            return {Extent::Kind::kZeros, offset, std::min(hidden.end, _size) - offset};
        if (hidden.begin > offset)
            end = std::min(end, hidden.begin);
    }
    const uint64_t plainEnd = _vista ? kVistaPlainSectors * _sectorSize : 0;
    if (offset < plainEnd)
        return {Extent::Kind::kPlain, offset, std::min(end, plainEnd) - offset};
    const bool relocated = offset < _relocatedLength;
    if (relocated)
        end = std::min(end, _relocatedLength);
    Extent extent = {Extent::Kind::kPlain, offset + (relocated ? _relocationOffset : 0),
                     end - offset};
    ApplyState(extent);
    if (relocated && _relocatedFlipped && extent.kind == Extent::Kind::kPlain)
        extent.kind = Extent::Kind::kEncrypted;
    else if (relocated && _relocatedFlipped && extent.kind == Extent::Kind::kEncrypted)
        extent.kind = Extent::Kind::kPlain;
    return extent;
}

}  // namespace vx::bitlocker
