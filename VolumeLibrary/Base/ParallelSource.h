// Reads long ranges of a byte source in parts at the same time, where decrypting or unpacking takes
// longer than reading. A failing disk is read in one piece and in order: two readers in one bad
// area would try more of it.
//
// Ownership: shares the source. Threads: any number at a time; a long read starts others and waits
// for them.
#pragma once

#include "ByteSource.h"

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace vx {

class ParallelSource final : public ByteSource {
public:
    // Shorter ones are not worth a thread.
    static constexpr size_t kShortestPart = size_t{512} << 10;
    static constexpr size_t kMostReaders = 4;

    // readers: of one read, the calling thread among them. Decryption is about as fast as the
    // reading of a disk, so that two are enough.
    explicit ParallelSource(std::shared_ptr<const ByteSource> source, size_t readers = 2)
        : _source(std::move(source)), _readers(readers)
    {
    }

    // For unpacking: as many as processors.
    static size_t ReadersForUnpacking();

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
    struct Part;

    Error ReadAtTheSameTime(std::vector<Part> *parts, ByteRanges *gaps) const;

    const std::shared_ptr<const ByteSource> _source;
    const size_t _readers;
    mutable std::atomic<bool> _isFailing{false};
};

}  // namespace vx
