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
    return NumberAt(Bytes(width), 0, width);
}

Guid ByteReader::TakeGuid()
{
    Guid value;
    const ByteView found = Bytes(value.bytes.size());
    std::copy(found.data, found.data + found.size, value.bytes.begin());
    return value;
}

}  // namespace vx
