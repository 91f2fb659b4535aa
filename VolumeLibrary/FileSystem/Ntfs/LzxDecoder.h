// The packing that Windows calls LZX, with a window of 32 KiB, as disk images and packed files have
// it: each chunk begins anew, its blocks say their size in one or 17 bits, and calls in x86 code
// are always translated, for a file of 12,000,000 bytes that begins with the chunk.
//
// A code must be complete, or have no symbol and not be used; a block must end with the chunk at
// the latest.
// Sources of the format: Microsoft Learn, [MS-PATCH] 2, "LZX"; Microsoft Cabinet SDK, "LZX Data
// Compression Format"; Microsoft, "Windows Imaging File Format" (2007), on chunks.
#pragma once

#include "ChunkDecoder.h"
#include "HuffmanCode.h"

namespace vx {

class LzxDecoder final : public ChunkDecoder {
public:
    static constexpr size_t kChunkBytes = size_t{1} << 15;

    // size: at most kChunkBytes.
    bool Decode(ByteView packed, uint8_t *bytes, size_t size) override;

private:
    enum class BlockKind { kVerbatim = 1, kAligned = 2, kStored = 3 };

    static constexpr size_t kSlots = 30;  // of distances, for this window
    static constexpr size_t kMainSymbols = 256 + 8 * kSlots;
    static constexpr size_t kLengthSymbols = 249;
    static constexpr size_t kAlignedSymbols = 8;
    static constexpr size_t kPathSymbols = 20;

    bool DecodeBlock(PackedBits *bits, uint8_t *bytes, size_t *done, size_t size);
    bool CopyStored(PackedBits *bits, uint8_t *bytes, size_t *done, size_t count);
    bool ReadCodes(BlockKind kind, PackedBits *bits);
    bool ReadAligned(PackedBits *bits);
    bool ReadLengths(PackedBits *bits, uint8_t *lengths, size_t count);
    bool DecodeSymbols(BlockKind kind, PackedBits *bits, uint8_t *bytes, size_t *done, size_t end);
    size_t TakeLength(unsigned header, PackedBits *bits) const;
    size_t TakeDistance(BlockKind kind, unsigned slot, PackedBits *bits);
    uint32_t TakeFarDistance(BlockKind kind, unsigned slot, PackedBits *bits) const;

    HuffmanCode _main{kMainSymbols, 11};
    HuffmanCode _length{kLengthSymbols, 10};
    HuffmanCode _aligned{kAlignedSymbols, 7};
    HuffmanCode _path{kPathSymbols, 7};
    // Of the codes of the block before, which those of a block refer to.
    std::array<uint8_t, kMainSymbols> _mainLengths;
    std::array<uint8_t, kLengthSymbols> _lengthLengths;
    std::array<uint32_t, 3> _recent;  // distances
};

// Undoes the translation of the calls in x86 code, which makes their targets relative again.
void RestoreCalls(uint8_t *bytes, size_t size);

}  // namespace vx
