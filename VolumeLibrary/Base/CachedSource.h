// Small reads of a byte source out of a few large blocks that are kept: tables and folders, never
// the contents of files. Of a block that cannot be read whole the rest is kept. What cannot be read
// is requested again from the source, which remembers it.
//
// Ownership: shares the source. Threads: any number at a time; a block is read while the lock is
// held, so that it is read once. Memory: the number of blocks * kBlockBytes.
#pragma once

#include "ByteSource.h"
#include "Mutex.h"

#include <memory>
#include <vector>

namespace vx {

class CachedSource final : public ByteSource {
public:
    static constexpr size_t kBlockBytes = size_t{64} << 10;
    static constexpr size_t kBlocks = 32;

    // blocks: how many are kept, at least 1.
    explicit CachedSource(std::shared_ptr<const ByteSource> source, size_t blocks = kBlocks);

    uint64_t Size() const override { return _source->Size(); }
    // count is best well below a block.
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override
    {
        _source->Locate(offset, length, visit);
    }

private:
    struct Block {
        uint64_t number = 0;
        uint64_t lastUse = 0;  // 0: holds nothing
        std::vector<uint8_t> bytes;
        ByteRanges gaps;  // with places in the source
    };

    const Block &Load(uint64_t number) const VX_REQUIRES(_mutex);
    static bool Lacks(const Block &block, uint64_t offset, size_t count);

    const std::shared_ptr<const ByteSource> _source;
    mutable Mutex _mutex;
    mutable std::vector<Block> _blocks VX_GUARDED_BY(_mutex);
    mutable uint64_t _uses VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
