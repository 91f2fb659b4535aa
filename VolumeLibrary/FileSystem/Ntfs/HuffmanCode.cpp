#include "HuffmanCode.h"

#include <algorithm>

namespace vx {

HuffmanCode::HuffmanCode(size_t symbols, unsigned fastBits)
    : _symbols(symbols), _fastBits(fastBits), _fast(size_t{1} << fastBits)
{
    _sorted.reserve(symbols);
}

bool HuffmanCode::Build(const uint8_t *lengths)
{
    if (!CountLengths(lengths))
        return false;
    std::array<uint32_t, kLongest + 1> next;
    for (unsigned length = 1; length <= kLongest; ++length)
        next[length] = _lengths[length].firstSymbol;
    for (size_t symbol = 0; symbol < _symbols; ++symbol) {
        if (lengths[symbol] != 0)
            _sorted[next[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
    }
    FillFast();
    return true;
}

bool HuffmanCode::CountLengths(const uint8_t *lengths)
{
    _lengths.fill({});
    _sorted.clear();
    for (size_t symbol = 0; symbol < _symbols; ++symbol) {
        if (lengths[symbol] > kLongest)
            return false;
        ++_lengths[lengths[symbol]].count;
    }
    uint32_t code = 0;
    uint32_t symbols = 0;
    for (unsigned bits = 1; bits <= kLongest; ++bits) {
        Length &length = _lengths[bits];
        code *= 2;
        length.firstCode = code;
        length.firstSymbol = symbols;
        code += length.count;
        symbols += length.count;
        if (code > uint32_t{1} << bits)
            return false;
    }
    _sorted.resize(symbols);
    return symbols == 0 || code == uint32_t{1} << kLongest;
}

void HuffmanCode::FillFast()
{
    auto place = _fast.begin();
    for (unsigned bits = 1; bits <= _fastBits; ++bits) {
        const Length &length = _lengths[bits];
        for (uint32_t i = 0; i < length.count; ++i) {
            const unsigned symbol = _sorted[length.firstSymbol + i];
            place = std::fill_n(place, size_t{1} << (_fastBits - bits),
                                static_cast<uint16_t>(symbol * kLengths + bits));
        }
    }
    std::fill(place, _fast.end(), uint16_t{0});
}

unsigned HuffmanCode::FindLong(uint32_t bits) const
{
    for (unsigned count = _fastBits + 1; count <= kLongest; ++count) {
        const Length &length = _lengths[count];
        const uint32_t code = (bits >> (kLongest - count)) - length.firstCode;
        if (code < length.count)
            return _sorted[length.firstSymbol + code] * kLengths + count;
    }
    return kNoSymbol * kLengths;
}

}  // namespace vx
