#include "ResidentFile.h"

#include <algorithm>
#include <cstring>

namespace vx {

bool ResidentFile::ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    const auto size = static_cast<int64_t>(_bytes.size());
    if (position >= size || count == 0)
        return true;
    *done = static_cast<uint32_t>(std::min<int64_t>(count, size - position));
    std::memcpy(buffer, _bytes.data() + position, *done);
    return true;
}

}  // namespace vx
