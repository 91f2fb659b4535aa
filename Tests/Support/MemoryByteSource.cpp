#include "MemoryByteSource.h"

#include <cstring>

namespace vx {

Error MemoryByteSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_bytes.size(), offset, count))
        return error;
    if (count > 0)
        std::memcpy(buffer, _bytes.data() + offset, count);
    return {};
}

}  // namespace vx
