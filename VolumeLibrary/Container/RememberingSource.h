// A file that holds an image, for the reader of its format: a bad sector of it is not tried again
// and again. One in a table of the image lies under many places of the disk, and CarefulSource,
// which sees only the disk, tries each of them; a failed read can take seconds.
//
// The sector where a read failed is suspect. A longer read that touches it first tries it alone. If
// that succeeds, it is not suspect any more; once it has failed as often as CarefulReader tries a
// sector, every read that touches it fails at once. That the disk is gone, and a lack of memory or
// descriptors, say nothing about a sector.
//
// Ownership: shares the source. Threads: any number at a time; the lock is not held during a read.
// As long as nothing has failed, a read costs one relaxed load more. Memory: kMostKept sectors,
// less than 1 MiB; when there are more, all are forgotten. Errors: those of the source; of a bad
// sector kSystemError with its last error number.
#pragma once

#include "ByteSource.h"
#include "Mutex.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>

namespace vx {

class RememberingSource final : public ByteSource {
public:
    static constexpr uint64_t kSector = 512;
    static constexpr size_t kMostKept = size_t{1} << 13;

    // retries: ReadingLimits'.
    RememberingSource(std::shared_ptr<const ByteSource> source, uint32_t retries)
        : _source(std::move(source)), _mostTries(uint64_t{retries} + kLeastTries)
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    // In a longer read, and alone.
    static constexpr uint64_t kLeastTries = 2;

    struct Suspect {
        uint64_t at = 0;  // its first byte
        uint64_t tries = 0;
        int error = 0;  // of errno
    };

    Error CheckSuspects(uint64_t offset, size_t count) const;
    Error TryAlone(uint64_t sector) const;
    Error ReadOnce(uint64_t offset, void *buffer, size_t count) const;
    std::optional<Suspect> NextSuspect(uint64_t from, uint64_t end) const;
    void Accuse(uint64_t sector, int error) const;
    void Clear(uint64_t sector) const;

    const std::shared_ptr<const ByteSource> _source;
    const uint64_t _mostTries;
    mutable std::atomic<bool> _hasSuspects{false};
    mutable Mutex _mutex;
    mutable std::map<uint64_t, Suspect> _suspects VX_GUARDED_BY(_mutex);  // by place
};

}  // namespace vx
