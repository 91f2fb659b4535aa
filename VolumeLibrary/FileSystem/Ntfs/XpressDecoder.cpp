#include "XpressDecoder.h"

namespace vx {
namespace {

constexpr unsigned kBytes = 256;  // symbols that stand for a byte
constexpr size_t kLeastLength = 3;

// The length of a repeat, of which the symbol has four bits; 0 if it is damaged.
inline size_t TakeLength(unsigned symbol, PackedBits *bits)
{
    constexpr unsigned kMoreFollows = 15;
    constexpr unsigned kStillMoreFollows = 255;
    const unsigned inSymbol = symbol % 16;
    if (inSymbol < kMoreFollows)
        return inSymbol + kLeastLength;
    const unsigned more = bits->TakeByte();
    if (more < kStillMoreFollows)
        return more + kMoreFollows + kLeastLength;
    const unsigned whole = bits->TakeWord();
    return whole < kMoreFollows ? 0 : whole + kLeastLength;
}

inline size_t TakeDistance(unsigned symbol, PackedBits *bits)
{
    const unsigned count = (symbol - kBytes) / 16;
    return size_t{1} << count | bits->Take(count);
}

}  // namespace

// Four bits for each symbol, the lower ones first.
bool XpressDecoder::ReadCode(ByteView lengths)
{
    std::array<uint8_t, kSymbols> ofSymbols;
    for (size_t i = 0; i < lengths.size; ++i) {
        ofSymbols[2 * i] = lengths.data[i] % 16;
        ofSymbols[2 * i + 1] = lengths.data[i] / 16;
    }
    return lengths.size == kSymbols / 2 && _code.Build(ofSymbols.data()) && !_code.IsEmpty();
}

bool XpressDecoder::Decode(ByteView packed, uint8_t *bytes, size_t size)
{
    if (!ReadCode(packed.First(kSymbols / 2)))
        return false;
    PackedBits bits(packed.From(kSymbols / 2));
    for (size_t done = 0; done < size;) {
        const unsigned symbol = _code.Decode(&bits);
        if (symbol < kBytes) {
            bytes[done++] = static_cast<uint8_t>(symbol);
            continue;
        }
        bits.Fill();  // bytes of a length lie after the next word
        const size_t length = TakeLength(symbol, &bits);
        if (length == 0 || !Repeat(TakeDistance(symbol, &bits), length, bytes, &done, size))
            return false;
    }
    return bits.IsGood();
}

}  // namespace vx
