// A canonical Huffman code: shorter codes come first, and those of one length in the order of their
// symbols.
//
// Threads: one at a time. Memory: taken once, when it is made.
#pragma once

#include "PackedBits.h"

#include <array>
#include <vector>

namespace vx {

class HuffmanCode {
public:
    static constexpr unsigned kLongest = 16;  // bits of a code
    static constexpr unsigned kNoSymbol = 0xFFFF;

    // symbols: at most 1024; fastBits: codes of up to this number of bits, 1 to 15, are found in
    // one step.
    HuffmanCode(size_t symbols, unsigned fastBits);

    // lengths: of the code of each symbol, at most kLongest, 0 for a symbol without one. False if
    // some row of bits stands for no symbol or for two; a code without any symbol is allowed.
    bool Build(const uint8_t *lengths);
    bool IsEmpty() const { return _sorted.empty(); }

    // The next symbol; kNoSymbol if the code is empty.
    unsigned Decode(PackedBits *bits) const
    {
        bits->Fill();
        unsigned found = _fast[bits->Peek(_fastBits)];
        if (found == 0)
            found = FindLong(bits->Peek(kLongest));
        bits->Drop(found % kLengths);
        return found / kLengths;
    }

private:
    static constexpr unsigned kLengths = 32;  // more than a length can be

    // Of the codes of one length.
    struct Length {
        uint32_t firstCode = 0;
        uint32_t count = 0;
        uint32_t firstSymbol = 0;  // in _sorted
    };

    // Symbol and length of the code that these bits begin with.
    unsigned FindLong(uint32_t bits) const;
    bool CountLengths(const uint8_t *lengths);
    void FillFast();

    const size_t _symbols;
    const unsigned _fastBits;
    std::array<Length, kLongest + 1> _lengths;
    std::vector<uint16_t> _sorted;  // symbols in the order of their codes
    std::vector<uint16_t> _fast;    // symbol and length; 0 for longer codes
};

}  // namespace vx
