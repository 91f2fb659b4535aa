#include "DamagedSource.h"

#include "../Require.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vx {
namespace {

constexpr size_t kSector = 512;

}  // namespace

SoundImage::SoundImage(std::vector<uint8_t> bytes) : _bytes(std::move(bytes))
{
    for (size_t at = 0; at + kSector <= _bytes.size(); at += kSector) {
        const uint8_t *sector = _bytes.data() + at;
        if (std::any_of(sector, sector + kSector, [](uint8_t byte) { return byte != 0; }))
            _sectors.push_back(at);
    }
    Require(!_sectors.empty(), "the image holds something");
}

SoundImage::Changes SoundImage::ChangesOf(const uint8_t *input, size_t size) const
{
    constexpr unsigned kNear = 64;
    Changes changes;
    uint64_t place = 0;
    for (; size >= 4; input += 4, size -= 4) {
        const uint64_t number = input[0] | input[1] << 8 | (input[2] & 0x7F) << 16;
        const bool isRelative = (input[2] & 0x80) != 0;
        place = (isRelative ? place + number % kNear : number) % (_sectors.size() * kSector);
        changes[_sectors[place / kSector] + place % kSector] = input[3];
    }
    return changes;
}

DamagedSource::DamagedSource(const SoundImage &image, SoundImage::Changes changes)
    : _image(image.Bytes()), _changes(std::move(changes))
{
}

Error DamagedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    std::memcpy(buffer, _image.data() + offset, count);
    auto change = _changes.lower_bound(offset);
    for (; change != _changes.end() && change->first - offset < count; ++change)
        static_cast<uint8_t *>(buffer)[change->first - offset] = change->second;
    return {};
}

}  // namespace vx
