#include "ByteWriter.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker::maker {

namespace {

void Put(std::vector<uint8_t> &bytes, size_t offset, uint64_t value, int width)
{
    for (int i = 0; i < width; ++i)
        bytes.at(offset + static_cast<size_t>(i)) = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

ByteWriter &ByteWriter::Number(uint64_t value, int width)
{
    const size_t offset = _bytes.size();
    _bytes.resize(offset + static_cast<size_t>(width));
    Put(_bytes, offset, value, width);
    return *this;
}

ByteWriter &ByteWriter::Bytes(ByteView value)
{
    _bytes.insert(_bytes.end(), value.data, value.data + value.size);
    return *this;
}

ByteWriter &ByteWriter::Text(const char *value, bool withZero)
{
    return Bytes({reinterpret_cast<const uint8_t *>(value), std::strlen(value) + withZero});
}

ByteWriter &ByteWriter::Zeros(size_t count)
{
    _bytes.resize(_bytes.size() + count);
    return *this;
}

ByteWriter &ByteWriter::Pad(size_t step)
{
    return Zeros((step - _bytes.size() % step) % step);
}

void PutU16(std::vector<uint8_t> &bytes, size_t offset, uint16_t value)
{
    Put(bytes, offset, value, 2);
}

void PutU32(std::vector<uint8_t> &bytes, size_t offset, uint32_t value)
{
    Put(bytes, offset, value, 4);
}

void PutU64(std::vector<uint8_t> &bytes, size_t offset, uint64_t value)
{
    Put(bytes, offset, value, 8);
}

void PutBytes(std::vector<uint8_t> &bytes, size_t offset, ByteView value)
{
    if (bytes.size() < offset + value.size)
        bytes.resize(offset + value.size);
    std::copy(value.data, value.data + value.size, bytes.begin() + static_cast<ptrdiff_t>(offset));
}

}  // namespace vx::bitlocker::maker
