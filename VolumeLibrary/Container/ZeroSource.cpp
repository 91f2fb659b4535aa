#include "ZeroSource.h"

#include <cstring>

namespace vx {

Error ZeroSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    if (count > 0)
        std::memset(buffer, 0, count);
    return {};
}

}  // namespace vx
