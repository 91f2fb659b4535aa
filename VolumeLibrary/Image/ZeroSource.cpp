#include "ZeroSource.h"

#include <cstring>

namespace vx {

bitlocker::Error ZeroSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(_size, offset, count))
        return error;
    if (count > 0)
        std::memset(buffer, 0, count);
    return {};
}

}  // namespace vx
