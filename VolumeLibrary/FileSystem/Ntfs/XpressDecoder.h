// The packing that Windows calls XPRESS with Huffman codes, for chunks of at most 64 KiB.
//
// Stricter than the format: a code must be complete, and the bits must not end early.
// Source of the format: Microsoft Learn, [MS-XCA] 2.1 and 2.2, "LZ77+Huffman".
#pragma once

#include "ChunkDecoder.h"
#include "HuffmanCode.h"

namespace vx {

class XpressDecoder final : public ChunkDecoder {
public:
    bool Decode(ByteView packed, uint8_t *bytes, size_t size) override;

private:
    static constexpr size_t kSymbols = 512;

    bool ReadCode(ByteView lengths);

    HuffmanCode _code{kSymbols, 11};
};

}  // namespace vx
