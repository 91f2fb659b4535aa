#include "ByteReader.h"

#include <algorithm>

namespace vx::bitlocker {

ByteView ByteReader::bytes(size_t count)
{
    if (!_good || count > left()) {
        _good = false;
        return {};
    }
    const ByteView found = _bytes.from(_position).first(count);
    _position += count;
    return found;
}

uint64_t ByteReader::number(size_t width)
{
    const ByteView found = bytes(width);
    uint64_t value = 0;
    for (size_t i = found.size; i > 0; --i)
        value = value << 8 | found.data[i - 1];
    return value;
}

Guid ByteReader::guid()
{
    Guid value;
    const ByteView found = bytes(value.bytes.size());
    std::copy(found.data, found.data + found.size, value.bytes.begin());
    return value;
}

}  // namespace vx::bitlocker
