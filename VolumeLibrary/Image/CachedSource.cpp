#include "CachedSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

CachedSource::CachedSource(std::shared_ptr<const bitlocker::ByteSource> source)
    : _source(std::move(source))
{
}

bitlocker::Error CachedSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    const MutexLock lock(_mutex);
    auto *place = static_cast<uint8_t *>(buffer);
    while (count > 0) {
        if (offset >= size())  // the source says so itself
            return _source->readAt(offset, place, count);
        const Block *block = nullptr;
        if (Load(offset / kBlockBytes, &block))  // perhaps only another part of it is bad
            return _source->readAt(offset, place, count);
        const auto skip = static_cast<size_t>(offset % kBlockBytes);
        const size_t piece = std::min(count, block->bytes.size() - skip);
        std::memcpy(place, block->bytes.data() + skip, piece);
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

bitlocker::Error CachedSource::Load(uint64_t number, const Block **found) const
{
    Block *oldest = &_blocks.front();
    for (Block &block : _blocks) {
        if (block.lastUse != 0 && block.number == number) {
            block.lastUse = ++_uses;
            *found = &block;
            return {};
        }
        if (block.lastUse < oldest->lastUse)
            oldest = &block;
    }
    const uint64_t begin = number * kBlockBytes;
    const uint64_t left = _source->size() - begin;
    oldest->lastUse = 0;
    oldest->bytes.resize(static_cast<size_t>(std::min<uint64_t>(kBlockBytes, left)));
    if (bitlocker::Error error = _source->readAt(begin, oldest->bytes.data(), oldest->bytes.size()))
        return error;
    oldest->number = number;
    oldest->lastUse = ++_uses;
    *found = oldest;
    return {};
}

}  // namespace vx
