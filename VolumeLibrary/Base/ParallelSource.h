// Reads long ranges of a byte source in two halves at the same time, where decrypting or unpacking
// takes longer than reading. A failing disk is read in one piece and in order: two readers in one
// bad area would try more of it.
//
// Ownership: shares the source. Threads: any number at a time; a long read starts another and waits
// for it.
#pragma once

#include "ByteSource.h"

#include <atomic>
#include <memory>
#include <utility>

namespace vx {

class ParallelSource final : public ByteSource {
public:
    // Shorter ones are not worth a thread.
    static constexpr size_t kShortestSplit = size_t{1} << 20;

    explicit ParallelSource(std::shared_ptr<const ByteSource> source) : _source(std::move(source))
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override
    {
        _source->Locate(offset, length, visit);
    }

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    const std::shared_ptr<const ByteSource> _source;
    mutable std::atomic<bool> _isFailing{false};
};

}  // namespace vx
