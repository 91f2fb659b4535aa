// Several byte sources joined end to end.
// Ownership: shares the sources. Threads: as the sources.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <vector>

namespace vx {

class JoinedSource final : public ByteSource {
public:
    // The sizes together must not overflow.
    explicit JoinedSource(std::vector<std::shared_ptr<const ByteSource>> parts);

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    struct Part {
        uint64_t begin;
        std::shared_ptr<const ByteSource> source;
    };

    std::vector<Part> _parts;
    uint64_t _size = 0;
};

}  // namespace vx
