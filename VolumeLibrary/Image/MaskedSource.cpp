#include "MaskedSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

bitlocker::Error MaskedSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = _source->readAt(offset, buffer, count))
        return error;
    const uint64_t begin = std::max(offset, _begin);
    const uint64_t end = std::min(offset + count, _end);
    if (begin < end)
        std::memset(static_cast<char *>(buffer) + (begin - offset), 0,
                    static_cast<size_t>(end - begin));
    return {};
}

}  // namespace vx
