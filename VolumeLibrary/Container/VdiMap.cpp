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
constexpr size_t kMostInDoubt = size_t{1} << 20;
constexpr uint32_t kWasDiscarded = 0xFFFFFFFE;  // and above: never written

Error Failed(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

Error Damaged()
{
    return {Status::kDamagedContainer, "the VDI image is damaged"};
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

template <typename Visitor>
void VdiMap::VisitEntries(const Visitor &visit) const
{
    constexpr uint64_t kEntriesAtOnce = 16384;
    std::vector<uint8_t> bytes;
    for (uint64_t first = 0; first < _shape.blocks; first += kEntriesAtOnce) {
        const uint64_t count = std::min<uint64_t>(kEntriesAtOnce, _shape.blocks - first);
        bytes.resize(static_cast<size_t>(count) * kEntryBytes);
        const bool isRead =
            !_file->ReadAt(_shape.mapAt + first * kEntryBytes, bytes.data(), bytes.size());
        for (uint64_t i = 0; i < count; ++i)
            visit(first + i, isRead ? std::optional(U32At(bytes, i * kEntryBytes)) : std::nullopt);
    }
}

Error VdiMap::Search()
{
    std::vector<bool> seen(_shape.blocks);
    VisitEntries([&](uint64_t number, std::optional<uint32_t> entry) {
        _namedBlocks += !entry || *entry < kWasDiscarded ? 1 : 0;
        if (entry)
            Take(*entry, number, &seen);
    });
    if (_shared.size() > kMostShared)
        return Damaged();
    std::sort(_shared.begin(), _shared.end());
    return LackingBlocks() > 0 ? FindInDoubt() : Error{};
}

Error VdiMap::FindInDoubt()
{
    VisitEntries([&](uint64_t number, std::optional<uint32_t> entry) {
        if (entry && *entry > kWasDiscarded && _inDoubt.size() <= kMostInDoubt)
            AddRange(number * _shape.blockBytes, _shape.blockBytes, &_inDoubt);
    });
    if (_inDoubt.size() > kMostInDoubt)
        return Damaged();
    CutRanges(_shape.diskBytes, &_inDoubt);
    return {};
}

void VdiMap::Take(uint32_t entry, uint64_t number, std::vector<bool> *seen)
{
    const uint64_t begin = number * _shape.blockBytes;
    if (entry >= _shape.blocks || begin >= _shape.diskBytes)
        return;
    if ((*seen)[entry] && _shared.size() <= kMostShared)
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
    if (entry > kWasDiscarded && LackingBlocks() > 0)
        return Failed(kInDoubt);
    if (entry >= kWasDiscarded)
        return std::optional<uint64_t>();
    if (entry >= _shape.blocks || std::binary_search(_shared.begin(), _shared.end(), entry))
        return Failed("the block map of the VDI image is damaged");
    return std::optional<uint64_t>(DataAt(entry));
}

}  // namespace vx
