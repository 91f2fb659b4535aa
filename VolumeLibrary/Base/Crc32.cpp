#include "Crc32.h"

#include <array>

namespace vx {

namespace {

constexpr std::array<uint32_t, 256> MakeTable()
{
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xedb88320 : 0);
        table[i] = value;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();

}  // namespace

Crc32 &Crc32::Add(ByteView bytes)
{
    for (size_t i = 0; i < bytes.size; ++i)
        _state = _state >> 8 ^ kTable[(_state ^ bytes.data[i]) & 0xff];
    return *this;
}

uint32_t Crc32WithoutField(ByteView bytes, size_t field)
{
    static constexpr uint8_t kZeros[4] = {};
    return Crc32().Add(bytes.First(field)).Add({kZeros, 4}).Add(bytes.From(field + 4)).Value();
}

}  // namespace vx
