#include "NtfsFixups.h"

#include "Little.h"

#include <cstring>

namespace vx {

bool ApplyNtfsFixups(std::vector<uint8_t> *bytes)
{
    constexpr size_t kStride = 512;
    if (bytes->size() < kStride)
        return false;
    uint8_t *data = bytes->data();
    const size_t offset = Little16(data + 4);
    const size_t count = Little16(data + 6);
    if (count != bytes->size() / kStride + 1 || offset + 2 * count > kStride - 2)
        return false;
    for (size_t i = 1; i < count; ++i) {
        uint8_t *end = data + i * kStride - 2;
        if (std::memcmp(end, data + offset, 2) != 0)
            return false;
        std::memcpy(end, data + offset + 2 * i, 2);
    }
    return true;
}

}  // namespace vx
