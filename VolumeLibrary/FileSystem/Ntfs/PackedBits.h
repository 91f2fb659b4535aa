// The bits of a packed chunk: 16-bit words, little-endian, each from its highest bit on. Bytes may
// lie between the words; they are taken where the next word would begin.
//
// Nothing is read beyond the end: what is asked for there is zeros, and IsGood() is false once any
// of them was used. Threads: one at a time.
#pragma once

#include "ByteReader.h"

namespace vx {

class PackedBits {
public:
    explicit PackedBits(ByteView bytes) : _next(bytes.data), _end(bytes.data + bytes.size) {}

    // At least 16 bits are at hand then.
    void Fill()
    {
        if (_count >= 16)
            return;
        _bits |= static_cast<uint32_t>(NextWord()) << (16 - _count);
        _count += 16;
    }
    // The next count bits, 1 to 16, which must be at hand.
    uint32_t Peek(unsigned count) const { return _bits >> (32 - count); }
    void Drop(unsigned count)
    {
        _bits <<= count;
        _count -= count;
    }
    // 0 to 16 bits.
    uint32_t Take(unsigned count)
    {
        Fill();
        const uint32_t value = _bits >> 1 >> (31 - count);
        Drop(count);
        return value;
    }

    uint8_t TakeByte() { return U8At(TakeBytes(1), 0); }
    uint16_t TakeWord() { return U16At(TakeBytes(2), 0); }
    uint32_t TakeLong() { return U32At(TakeBytes(4), 0); }
    // All of them or none.
    ByteView TakeBytes(size_t count)
    {
        if (count > static_cast<size_t>(_end - _next)) {
            _missesBytes = true;
            return {};
        }
        const ByteView taken(_next, count);
        _next += count;
        return taken;
    }
    // Leaves out what is left of the word that the last bit came from, or, at its end, the word
    // that follows.
    void LeaveWord()
    {
        Fill();
        Drop(_count % 16 != 0 ? _count % 16 : 16);
        // What is at hand beyond that has not been taken.
        _next -= _count > 0 && _wordsBeyond == 0 ? 2 : 0;
        _bits = 0;
        _count = 0;
    }

    // Whether all that was taken was there.
    bool IsGood() const { return !_missesBytes && 16 * _wordsBeyond <= _count; }

private:
    uint16_t NextWord()
    {
        if (_end - _next < 2) {
            ++_wordsBeyond;
            return 0;
        }
        const auto word = static_cast<uint16_t>(_next[0] | _next[1] << 8);
        _next += 2;
        return word;
    }

    const uint8_t *_next;
    const uint8_t *_end;
    uint32_t _bits = 0;   // from the highest bit on; zeros below those at hand
    unsigned _count = 0;  // bits at hand, at most 31
    uint64_t _wordsBeyond = 0;
    bool _missesBytes = false;
};

}  // namespace vx
