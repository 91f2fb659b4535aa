#include "ResidentFile.h"

#include <algorithm>
#include <cstring>

namespace vx {

uint32_t ResidentFile::ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *)
{
    const auto size = static_cast<int64_t>(_bytes.size());
    if (position >= size || count == 0)
        return 0;
    const auto length = static_cast<uint32_t>(std::min<int64_t>(count, size - position));
    std::memcpy(buffer, _bytes.data() + position, length);
    return length;
}

}  // namespace vx
