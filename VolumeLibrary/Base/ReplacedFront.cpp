#include "ReplacedFront.h"

#include <algorithm>
#include <cstring>

namespace vx {

uint64_t ReplacedFront::Replaced(uint64_t offset, uint64_t count) const
{
    const uint64_t end = std::min<uint64_t>(_front.size(), Size());
    return offset < end ? std::min(count, end - offset) : 0;
}

Error ReplacedFront::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    return ReadBySalvage(offset, buffer, count);
}

Error ReplacedFront::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                   ByteRanges *gaps) const
{
    const auto replaced = static_cast<size_t>(Replaced(offset, count));
    if (replaced > 0)
        std::memcpy(buffer, _front.data() + offset, replaced);
    if (replaced == count)
        return {};
    return _source->Salvage(offset + replaced, static_cast<uint8_t *>(buffer) + replaced,
                            count - replaced, gaps);
}

void ReplacedFront::Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const
{
    const uint64_t replaced = Replaced(offset, length);
    if (replaced < length)
        _source->Locate(offset + replaced, length - replaced, visit);
}

}  // namespace vx
