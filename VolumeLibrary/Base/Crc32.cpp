#include "Crc32.h"

#include <array>

namespace vx {

namespace {

using Table = std::array<uint32_t, 256>;

constexpr Table MakeTable(uint32_t polynomial)
{
    Table table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? polynomial : 0);
        table[i] = value;
    }
    return table;
}

constexpr Table kUsual = MakeTable(0xEDB88320);
constexpr Table kCastagnoli = MakeTable(0x82F63B78);

}  // namespace

Crc32 &Crc32::Add(ByteView bytes)
{
    const Table &table = _kind == Kind::kUsual ? kUsual : kCastagnoli;
    for (size_t i = 0; i < bytes.size; ++i)
        _state = _state >> 8 ^ table[(_state ^ bytes.data[i]) & 0xff];
    return *this;
}

uint32_t Crc32WithoutField(ByteView bytes, size_t field, Crc32::Kind kind)
{
    static constexpr uint8_t kZeros[4] = {};
    return Crc32(kind).Add(bytes.First(field)).Add({kZeros, 4}).Add(bytes.From(field + 4)).Value();
}

}  // namespace vx
