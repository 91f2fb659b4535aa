// Collects little-endian numbers and bytes.
#pragma once

#include "ByteView.h"
#include "Guid.h"

namespace vx::bitlocker::maker {

class ByteWriter {
public:
    ByteWriter &U16(uint16_t value) { return Number(value, 2); }
    ByteWriter &U32(uint32_t value) { return Number(value, 4); }
    ByteWriter &U64(uint64_t value) { return Number(value, 8); }
    ByteWriter &Guid(const Guid &value) { return Bytes({value.bytes.data(), value.bytes.size()}); }
    ByteWriter &Bytes(ByteView value);
    // text with its final zero if withZero
    ByteWriter &Text(const char *value, bool withZero = false);
    ByteWriter &Zeros(size_t count);
    // Zeros up to a multiple of step.
    ByteWriter &Pad(size_t step);

    size_t Size() const { return _bytes.size(); }
    const std::vector<uint8_t> &Result() const { return _bytes; }

private:
    ByteWriter &Number(uint64_t value, int width);

    std::vector<uint8_t> _bytes;
};

// Overwrites bytes from offset on with the little-endian form of a value.
void PutU16(std::vector<uint8_t> &bytes, size_t offset, uint16_t value);
void PutU32(std::vector<uint8_t> &bytes, size_t offset, uint32_t value);
void PutU64(std::vector<uint8_t> &bytes, size_t offset, uint64_t value);
void PutBytes(std::vector<uint8_t> &bytes, size_t offset, ByteView value);

}  // namespace vx::bitlocker::maker
