#include "ByteWriter.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker::maker {

namespace {

void put(std::vector<uint8_t> &bytes, size_t offset, uint64_t value, int width)
{
    for (int i = 0; i < width; ++i)
        bytes.at(offset + static_cast<size_t>(i)) = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

ByteWriter &ByteWriter::number(uint64_t value, int width)
{
    const size_t offset = _bytes.size();
    _bytes.resize(offset + static_cast<size_t>(width));
    put(_bytes, offset, value, width);
    return *this;
}

ByteWriter &ByteWriter::bytes(ByteView value)
{
    _bytes.insert(_bytes.end(), value.data, value.data + value.size);
    return *this;
}

ByteWriter &ByteWriter::text(const char *value, bool withZero)
{
    return bytes({reinterpret_cast<const uint8_t *>(value), std::strlen(value) + withZero});
}

ByteWriter &ByteWriter::zeros(size_t count)
{
    _bytes.resize(_bytes.size() + count);
    return *this;
}

ByteWriter &ByteWriter::pad(size_t step)
{
    return zeros((step - _bytes.size() % step) % step);
}

void putU16(std::vector<uint8_t> &bytes, size_t offset, uint16_t value)
{
    put(bytes, offset, value, 2);
}

void putU32(std::vector<uint8_t> &bytes, size_t offset, uint32_t value)
{
    put(bytes, offset, value, 4);
}

void putU64(std::vector<uint8_t> &bytes, size_t offset, uint64_t value)
{
    put(bytes, offset, value, 8);
}

void putBytes(std::vector<uint8_t> &bytes, size_t offset, ByteView value)
{
    if (bytes.size() < offset + value.size)
        bytes.resize(offset + value.size);
    std::copy(value.data, value.data + value.size, bytes.begin() + static_cast<ptrdiff_t>(offset));
}

}  // namespace vx::bitlocker::maker
