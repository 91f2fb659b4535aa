// A source whose first bytes are replaced by others, such as the first sector of a volume where it
// is lost. They are stored nowhere.
// Ownership: shares the source. Threads: as the source.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <utility>
#include <vector>

namespace vx {

class ReplacedFront final : public ByteSource {
public:
    ReplacedFront(std::shared_ptr<const ByteSource> source, std::vector<uint8_t> front)
        : _source(std::move(source)), _front(std::move(front))
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override;

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    // How many of count bytes at the offset are replaced.
    uint64_t Replaced(uint64_t offset, uint64_t count) const;

    const std::shared_ptr<const ByteSource> _source;
    const std::vector<uint8_t> _front;
};

}  // namespace vx
