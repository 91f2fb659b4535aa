#include "VolumeLayout.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

Extent::Kind kindOf(ConversionMap::State state)
{
    switch (state) {
    case ConversionMap::State::Plain:
        return Extent::Kind::Plain;
    case ConversionMap::State::Encrypted:
        return Extent::Kind::Encrypted;
    case ConversionMap::State::Interrupted:
        return Extent::Kind::Interrupted;
    case ConversionMap::State::Unknown:
        break;
    }
    return Extent::Kind::Unknown;
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
        hide(copy, block.areaSize());
    hide(_relocationOffset, _relocatedLength);
}

uint64_t VolumeLayout::roundedUp(uint64_t offset) const
{
    const uint64_t over = offset % _sectorSize;
    if (over == 0)
        return offset;
    return offset > UINT64_MAX - _sectorSize ? UINT64_MAX : offset - over + _sectorSize;
}

// A sector is hidden if its first byte is.
void VolumeLayout::hide(uint64_t begin, uint64_t length)
{
    const uint64_t end = begin > UINT64_MAX - length ? UINT64_MAX : begin + length;
    if (length > 0 && begin < _size)
        _hidden.push_back({roundedUp(begin), roundedUp(end)});
}

// Sets the kind of an extent from where it is stored, and shortens it to where that holds.
void VolumeLayout::applyState(Extent &extent) const
{
    if (_map) {
        const ConversionMap::Run run = _map->runAt(extent.stored);
        extent.kind = kindOf(run.state);
        extent.chunk = run.chunk;
        extent.length = std::min(extent.length, roundedUp(run.end - extent.stored));
        return;
    }
    extent.kind = extent.stored < _encryptedSize ? Extent::Kind::Encrypted : Extent::Kind::Plain;
    if (extent.kind == Extent::Kind::Encrypted)
        extent.length = std::min(extent.length, roundedUp(_encryptedSize - extent.stored));
}

Extent VolumeLayout::extentAt(uint64_t offset) const
{
    uint64_t end = _size;
    for (const Range &hidden : _hidden) {
        if (offset >= hidden.begin && offset < hidden.end)
            return {Extent::Kind::Zeros, offset, std::min(hidden.end, _size) - offset};
        if (hidden.begin > offset)
            end = std::min(end, hidden.begin);
    }
    const uint64_t plainEnd = _vista ? kVistaPlainSectors * _sectorSize : 0;
    if (offset < plainEnd)
        return {Extent::Kind::Plain, offset, std::min(end, plainEnd) - offset};
    const bool relocated = offset < _relocatedLength;
    if (relocated)
        end = std::min(end, _relocatedLength);
    Extent extent = {Extent::Kind::Plain, offset + (relocated ? _relocationOffset : 0),
                     end - offset};
    applyState(extent);
    if (relocated && _relocatedFlipped && extent.kind == Extent::Kind::Plain)
        extent.kind = Extent::Kind::Encrypted;
    else if (relocated && _relocatedFlipped && extent.kind == Extent::Kind::Encrypted)
        extent.kind = Extent::Kind::Plain;
    return extent;
}

}  // namespace vx::bitlocker
