#include "OverlaySource.h"

namespace vx::bitlocker {

Error OverlaySource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    if (Error error = _below->ReadAt(offset, buffer, count))
        return error;
    for (const auto &[begin, bytes] : _changed)
        for (size_t i = 0; i < bytes.size(); ++i)
            if (begin + i >= offset && begin + i - offset < count)
                static_cast<uint8_t *>(buffer)[begin + i - offset] = bytes[i];
    return {};
}

}  // namespace vx::bitlocker
