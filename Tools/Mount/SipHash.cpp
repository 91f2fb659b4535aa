#include "SipHash.h"

namespace vx {
namespace {

constexpr size_t kWordBytes = 8;
constexpr int kRoundsOfWord = 2;
constexpr int kRoundsAtEnd = 4;

constexpr uint64_t RotatedLeft(uint64_t word, int bits)
{
    return word << bits | word >> (64 - bits);
}

struct State {
    uint64_t a, b, c, d;

    void Round()
    {
        a += b;
        c += d;
        b = RotatedLeft(b, 13) ^ a;
        d = RotatedLeft(d, 16) ^ c;
        a = RotatedLeft(a, 32) + d;
        c += b;
        b = RotatedLeft(b, 17) ^ c;
        c = RotatedLeft(c, 32);
        d = RotatedLeft(d, 21) ^ a;
    }

    void Take(uint64_t word)
    {
        d ^= word;
        for (int i = 0; i < kRoundsOfWord; ++i)
            Round();
        a ^= word;
    }
};

// Up to eight bytes, the first one lowest.
uint64_t WordOf(std::string_view bytes)
{
    uint64_t word = 0;
    for (size_t i = 0; i < bytes.size(); ++i)
        word |= uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    return word;
}

}  // namespace

uint64_t SipHash(const std::array<uint64_t, 2> &key, std::string_view bytes)
{
    State state = {key[0] ^ 0x736f6d6570736575, key[1] ^ 0x646f72616e646f6d,
                   key[0] ^ 0x6c7967656e657261, key[1] ^ 0x7465646279746573};
    const uint64_t length = bytes.size();
    for (; bytes.size() >= kWordBytes; bytes.remove_prefix(kWordBytes))
        state.Take(WordOf(bytes.substr(0, kWordBytes)));
    state.Take(WordOf(bytes) | length << 56);
    state.c ^= 0xFF;
    for (int i = 0; i < kRoundsAtEnd; ++i)
        state.Round();
    return state.a ^ state.b ^ state.c ^ state.d;
}

}  // namespace vx
