// Collects little-endian numbers and bytes.
#pragma once

#include "Bitlocker/ByteView.h"
#include "Bitlocker/Guid.h"

namespace vx::bitlocker::maker {

class ByteWriter {
public:
    ByteWriter &u16(uint16_t value) { return number(value, 2); }
    ByteWriter &u32(uint32_t value) { return number(value, 4); }
    ByteWriter &u64(uint64_t value) { return number(value, 8); }
    ByteWriter &guid(const Guid &value) { return bytes({value.bytes.data(), value.bytes.size()}); }
    ByteWriter &bytes(ByteView value);
    // text with its final zero if withZero
    ByteWriter &text(const char *value, bool withZero = false);
    ByteWriter &zeros(size_t count);
    // Zeros up to a multiple of step.
    ByteWriter &pad(size_t step);

    size_t size() const { return _bytes.size(); }
    const std::vector<uint8_t> &result() const { return _bytes; }

private:
    ByteWriter &number(uint64_t value, int width);

    std::vector<uint8_t> _bytes;
};

// Overwrites bytes from offset on with the little-endian form of a value.
void putU16(std::vector<uint8_t> &bytes, size_t offset, uint16_t value);
void putU32(std::vector<uint8_t> &bytes, size_t offset, uint32_t value);
void putU64(std::vector<uint8_t> &bytes, size_t offset, uint64_t value);
void putBytes(std::vector<uint8_t> &bytes, size_t offset, ByteView value);

}  // namespace vx::bitlocker::maker
