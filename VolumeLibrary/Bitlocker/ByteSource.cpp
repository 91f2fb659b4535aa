#include "ByteSource.h"

namespace vx::bitlocker {

Error ByteSource::checkRange(uint64_t size, uint64_t offset, size_t count)
{
    if (offset <= size && count <= size - offset)
        return {};
    return {Status::TruncatedImage, std::to_string(count) + " bytes wanted at " +
                                        std::to_string(offset) + ", but there are only " +
                                        std::to_string(size)};
}

}  // namespace vx::bitlocker
