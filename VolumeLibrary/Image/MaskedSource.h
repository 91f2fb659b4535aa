// A byte source of which a part reads as zeros.
// Ownership: shares the source. Threads: as the source.
#pragma once

#include "Bitlocker/ByteSource.h"

#include <memory>
#include <utility>

namespace vx {

class MaskedSource final : public bitlocker::ByteSource {
public:
    // offset + count must not overflow.
    MaskedSource(std::shared_ptr<const bitlocker::ByteSource> source, uint64_t offset,
                 uint64_t count)
        : _source(std::move(source)), _begin(offset), _end(offset + count)
    {
    }

    uint64_t size() const override { return _source->size(); }
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::shared_ptr<const bitlocker::ByteSource> _source;
    const uint64_t _begin;
    const uint64_t _end;
};

}  // namespace vx
