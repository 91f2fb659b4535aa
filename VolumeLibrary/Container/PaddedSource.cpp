#include "PaddedSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

Error PaddedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    const uint64_t left = _source->Size() - std::min(_source->Size(), offset);
    const auto stored = static_cast<size_t>(std::min<uint64_t>(count, left));
    std::memset(static_cast<uint8_t *>(buffer) + stored, 0, count - stored);
    return stored == 0 ? Error() : _source->ReadAt(offset, buffer, stored);
}

}  // namespace vx
