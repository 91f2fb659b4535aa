#include "ByteReader.h"

#include <algorithm>

namespace vx {

bool ByteReader::TakeMark(std::string_view mark)
{
    return HasTextAt(Bytes(mark.size()), 0, mark);
}

uint64_t ByteReader::BigNumber(size_t width)
{
    const ByteView found = Bytes(width);
    uint64_t value = 0;
    for (size_t i = 0; i < found.size; ++i)
        value = value << 8 | found.data[i];
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
