#include "ByteReader.h"

#include <algorithm>

namespace vx {

ByteView ByteReader::Bytes(size_t count)
{
    if (!_good || count > Left()) {
        _good = false;
        return {};
    }
    const ByteView found = _bytes.From(_position).First(count);
    _position += count;
    return found;
}

uint64_t ByteReader::Number(size_t width)
{
    const ByteView found = Bytes(width);
    uint64_t value = 0;
    for (size_t i = found.size; i > 0; --i)
        value = value << 8 | found.data[i - 1];
    return value;
}

Guid ByteReader::TakeGuid()
{
    Guid value;
    const ByteView found = Bytes(value.bytes.size());
    std::copy(found.data, found.data + found.size, value.bytes.begin());
    return value;
}

}  // namespace vx
