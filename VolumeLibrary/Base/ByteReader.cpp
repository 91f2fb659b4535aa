#include "ByteReader.h"

#include <algorithm>

namespace vx {

Guid ByteReader::TakeGuid()
{
    Guid value;
    const ByteView found = Bytes(value.bytes.size());
    std::copy(found.data, found.data + found.size, value.bytes.begin());
    return value;
}

}  // namespace vx
