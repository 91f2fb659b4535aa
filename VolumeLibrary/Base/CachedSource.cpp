#include "CachedSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

CachedSource::CachedSource(std::shared_ptr<const ByteSource> source, size_t blocks)
    : _source(std::move(source)), _blocks(blocks)
{
}

Error CachedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    _source->NoteTable(offset, count);
    const MutexLock lock(_mutex);
    auto *place = static_cast<uint8_t *>(buffer);
    while (count > 0) {
        if (offset >= Size())  // the source says so itself
            return _source->ReadAt(offset, place, count);
        const Block &block = Load(offset / kBlockBytes);
        const auto skip = static_cast<size_t>(offset % kBlockBytes);
        const size_t piece = std::min(count, block.bytes.size() - skip);
        if (Lacks(block, offset, piece))
            return _source->ReadAt(offset, place, count);
        std::memcpy(place, block.bytes.data() + skip, piece);
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

bool CachedSource::Lacks(const Block &block, uint64_t offset, size_t count)
{
    return std::any_of(block.gaps.begin(), block.gaps.end(), [&](const ByteRange &gap) {
        return gap.offset < offset + count && offset < gap.offset + gap.length;
    });
}

const CachedSource::Block &CachedSource::Load(uint64_t number) const
{
    Block *oldest = &_blocks.front();
    for (Block &block : _blocks) {
        if (block.lastUse != 0 && block.number == number) {
            block.lastUse = ++_uses;
            return block;
        }
        if (block.lastUse < oldest->lastUse)
            oldest = &block;
    }
    const uint64_t begin = number * kBlockBytes;
    const uint64_t left = _source->Size() - begin;
    oldest->lastUse = 0;
    oldest->gaps.clear();
    oldest->bytes.resize(static_cast<size_t>(std::min<uint64_t>(kBlockBytes, left)));
    (void)_source->Salvage(begin, oldest->bytes.data(), oldest->bytes.size(), &oldest->gaps);
    oldest->number = number;
    oldest->lastUse = ++_uses;
    return *oldest;
}

}  // namespace vx
