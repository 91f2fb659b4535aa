// Bytes of which some cannot be read, as on a failing disk. Threads: any number at a time.
#pragma once

#include "ByteSource.h"

#include <atomic>
#include <string>

namespace vx {

class SourceWithHole final : public ByteSource {
public:
    // Every read that touches the range from begin to end fails.
    SourceWithHole(std::string bytes, uint64_t begin, uint64_t end);
    explicit SourceWithHole(std::string bytes) : SourceWithHole(std::move(bytes), 0, 0) {}

    // The hole may be moved at any time.
    void MoveHole(uint64_t begin, uint64_t end);
    const std::string &Bytes() const { return _bytes; }

    uint64_t Size() const override { return _bytes.size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::string _bytes;
    std::atomic<uint64_t> _begin;
    std::atomic<uint64_t> _end;
};

}  // namespace vx
