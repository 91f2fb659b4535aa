#include "VdiMap.h"

#include "ByteReader.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vx {
namespace {

constexpr size_t kEntryBytes = 4;
constexpr size_t kCachedBlocks = 4;
constexpr size_t kMostShared = size_t{1} << 16;
constexpr uint32_t kWasDiscarded = 0xFFFFFFFE;  // and above: never written

Error Failed(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

}  // namespace

Result<std::unique_ptr<VdiMap>> VdiMap::Open(std::shared_ptr<const ByteSource> file,
                                             const VdiShape &shape)
{
    std::unique_ptr<VdiMap> map(new VdiMap(std::move(file), shape));
    if (Error error = map->Search())
        return error;
    return map;
}

VdiMap::VdiMap(std::shared_ptr<const ByteSource> file, const VdiShape &shape)
    : _file(std::move(file)), _cached(_file, kCachedBlocks), _shape(shape)
{
}

Error VdiMap::Search()
{
    constexpr uint64_t kEntriesAtOnce = 16384;
    std::vector<bool> seen(_shape.blocks);
    std::vector<uint8_t> bytes;
    for (uint64_t first = 0; first < _shape.blocks; first += kEntriesAtOnce) {
        const uint64_t count = std::min<uint64_t>(kEntriesAtOnce, _shape.blocks - first);
        bytes.assign(static_cast<size_t>(count) * kEntryBytes, 0xFF);
        if (_file->ReadAt(_shape.mapAt + first * kEntryBytes, bytes.data(), bytes.size()))
            continue;
        for (uint64_t i = 0; i < count; ++i)
            Take(U32At(bytes, i * kEntryBytes), first + i, &seen);
        if (_shared.size() > kMostShared)
            return {Status::kDamagedContainer, "the VDI image is damaged"};
    }
    std::sort(_shared.begin(), _shared.end());
    return {};
}

void VdiMap::Take(uint32_t entry, uint64_t number, std::vector<bool> *seen)
{
    const uint64_t begin = number * _shape.blockBytes;
    if (entry >= _shape.blocks || begin >= _shape.diskBytes)
        return;
    if ((*seen)[entry])
        _shared.push_back(entry);
    (*seen)[entry] = true;
    const uint64_t needed = std::min<uint64_t>(_shape.blockBytes, _shape.diskBytes - begin);
    const uint64_t left = _file->Size() - std::min(_file->Size(), DataAt(entry));
    _missingBytes += needed - std::min(needed, left);
}

uint64_t VdiMap::DataAt(uint32_t entry) const
{
    const uint64_t stride = uint64_t{_shape.blockBytes} + _shape.extraBytes;
    return _shape.blocksAt + entry * stride + _shape.extraBytes;
}

Result<std::optional<uint64_t>> VdiMap::Find(uint64_t number) const
{
    uint8_t bytes[kEntryBytes];
    if (number >= _shape.blocks)
        return Failed("the block map of the VDI image ends before this place");
    if (Error error = _cached.ReadAt(_shape.mapAt + number * kEntryBytes, bytes, sizeof bytes))
        return error;
    const uint32_t entry = U32At({bytes, sizeof bytes}, 0);
    if (entry >= kWasDiscarded)
        return std::optional<uint64_t>();
    if (entry >= _shape.blocks || std::binary_search(_shared.begin(), _shared.end(), entry))
        return Failed("the block map of the VDI image is damaged");
    return std::optional<uint64_t>(DataAt(entry));
}

}  // namespace vx
