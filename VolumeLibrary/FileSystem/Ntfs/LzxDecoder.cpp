#include "LzxDecoder.h"

#include <algorithm>
#include <utility>

namespace vx {
namespace {

constexpr unsigned kBytes = 256;  // symbols that stand for a byte
constexpr unsigned kRecentSlots = 3;
constexpr size_t kLeastLength = 2;

void PutU32(int32_t value, uint8_t *bytes)
{
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> 8 * i);
}

// A run of lengths in the description of a code.
struct LengthRun {
    size_t count = 1;
    bool isOfZeros = false;
};

LengthRun TakeRun(unsigned symbol, PackedBits *bits)
{
    switch (symbol) {
    case 17:
        return {4 + bits->Take(4), true};
    case 18:
        return {20 + bits->Take(5), true};
    case 19:
        return {4 + bits->Take(1), false};
    default:
        return {};
    }
}

}  // namespace

bool LzxDecoder::Decode(ByteView packed, uint8_t *bytes, size_t size)
{
    _mainLengths.fill(0);
    _lengthLengths.fill(0);
    _recent.fill(1);
    PackedBits bits(packed);
    for (size_t done = 0; done < size;) {
        if (!DecodeBlock(&bits, bytes, &done, size) || !bits.IsGood())
            return false;
    }
    RestoreCalls(bytes, size);
    return true;
}

bool LzxDecoder::DecodeBlock(PackedBits *bits, uint8_t *bytes, size_t *done, size_t size)
{
    const auto kind = static_cast<BlockKind>(bits->Take(3));
    const bool isOfUsualSize = bits->Take(1) != 0;
    const size_t count = isOfUsualSize ? kChunkBytes : bits->Take(16);
    if (count == 0 || count > size - *done)
        return false;
    switch (kind) {
    case BlockKind::kVerbatim:
    case BlockKind::kAligned:
        return ReadCodes(kind, bits) && DecodeSymbols(kind, bits, bytes, done, *done + count);
    case BlockKind::kStored:
        return CopyStored(bits, bytes, done, count);
    default:
        return false;
    }
}

bool LzxDecoder::CopyStored(PackedBits *bits, uint8_t *bytes, size_t *done, size_t count)
{
    bits->LeaveWord();
    for (uint32_t &distance : _recent)
        distance = bits->TakeLong();
    const ByteView stored = bits->TakeBytes(count);
    if (stored.size != count)
        return false;
    std::memcpy(bytes + *done, stored.data, count);
    *done += count;
    return count % 2 == 0 || bits->TakeBytes(1).size == 1;
}

bool LzxDecoder::ReadCodes(BlockKind kind, PackedBits *bits)
{
    if (kind == BlockKind::kAligned && !ReadAligned(bits))
        return false;
    uint8_t *main = _mainLengths.data();
    return ReadLengths(bits, main, kBytes) &&
           ReadLengths(bits, main + kBytes, kMainSymbols - kBytes) && _main.Build(main) &&
           ReadLengths(bits, _lengthLengths.data(), kLengthSymbols) &&
           _length.Build(_lengthLengths.data());
}

bool LzxDecoder::ReadAligned(PackedBits *bits)
{
    std::array<uint8_t, kAlignedSymbols> lengths;
    for (uint8_t &length : lengths)
        length = static_cast<uint8_t>(bits->Take(3));
    return _aligned.Build(lengths.data());
}

// The lengths of a code as differences from those of the block before, packed with a code of their
// own.
bool LzxDecoder::ReadLengths(PackedBits *bits, uint8_t *lengths, size_t count)
{
    constexpr unsigned kDifferences = 17;
    std::array<uint8_t, kPathSymbols> ofPath;
    for (uint8_t &length : ofPath)
        length = static_cast<uint8_t>(bits->Take(4));
    if (!_path.Build(ofPath.data()))
        return false;
    for (size_t i = 0; i < count;) {
        unsigned symbol = _path.Decode(bits);
        const LengthRun run = TakeRun(symbol, bits);
        if (run.count > 1 && !run.isOfZeros)
            symbol = _path.Decode(bits);
        if (run.count > count - i || (!run.isOfZeros && symbol >= kDifferences))
            return false;
        const unsigned length = (lengths[i] + kDifferences - symbol) % kDifferences;
        std::fill_n(lengths + i, run.count, static_cast<uint8_t>(run.isOfZeros ? 0 : length));
        i += run.count;
    }
    return true;
}

bool LzxDecoder::DecodeSymbols(BlockKind kind, PackedBits *rest, uint8_t *bytes, size_t *done,
                               size_t end)
{
    PackedBits bits = *rest;  // copies, so that a write to bytes cannot be one to them
    size_t at = *done;
    while (at < end) {
        const unsigned symbol = _main.Decode(&bits);
        if (symbol < kBytes) {
            bytes[at++] = static_cast<uint8_t>(symbol);
            continue;
        }
        if (symbol == HuffmanCode::kNoSymbol)
            return false;
        const size_t length = TakeLength(symbol % 8, &bits);
        const size_t distance = TakeDistance(kind, (symbol - kBytes) / 8, &bits);
        if (length == 0 || !Repeat(distance, length, bytes, &at, end))
            return false;
    }
    *rest = bits;
    *done = at;
    return true;
}

// 0 if it is damaged.
inline size_t LzxDecoder::TakeLength(unsigned header, PackedBits *bits) const
{
    constexpr unsigned kMoreFollows = 7;
    if (header < kMoreFollows)
        return header + kLeastLength;
    const unsigned more = _length.Decode(bits);
    return more == HuffmanCode::kNoSymbol ? 0 : more + kMoreFollows + kLeastLength;
}

// The three distances used last have slots of their own, and change their places when one of them
// is used. 0 if it is damaged.
inline size_t LzxDecoder::TakeDistance(BlockKind kind, unsigned slot, PackedBits *bits)
{
    if (slot < kRecentSlots) {
        std::swap(_recent[0], _recent[slot]);
        return _recent[0];
    }
    const uint32_t distance = TakeFarDistance(kind, slot, bits);
    _recent = {distance, _recent[0], _recent[1]};
    return distance;
}

inline uint32_t LzxDecoder::TakeFarDistance(BlockKind kind, unsigned slot, PackedBits *bits) const
{
    constexpr unsigned kAlignedBits = 3;
    const unsigned footer = slot < 4 ? 0 : slot / 2 - 1;
    const uint32_t base = slot < 4 ? slot : (2 + slot % 2) << footer;
    if (kind == BlockKind::kVerbatim || footer < kAlignedBits)
        return base + bits->Take(footer) - (kRecentSlots - 1);
    const uint32_t upper = bits->Take(footer - kAlignedBits) << kAlignedBits;
    const unsigned lower = _aligned.Decode(bits);
    return lower == HuffmanCode::kNoSymbol ? 0 : base + upper + lower - (kRecentSlots - 1);
}

void RestoreCalls(uint8_t *bytes, size_t size)
{
    constexpr uint8_t kCall = 0xE8;
    constexpr size_t kCallBytes = 5;
    constexpr size_t kLeftAlone = 10;  // at the end
    constexpr int32_t kFileBytes = 12000000;
    if (size <= kLeftAlone)
        return;
    uint8_t *const end = bytes + size - kLeftAlone;
    for (uint8_t *next = bytes; next < end;) {
        uint8_t *const call = std::find(next, end, kCall);
        const auto target = static_cast<int32_t>(U32At(ByteView(call + 1, 4), 0));
        const auto place = static_cast<int32_t>(call - bytes);
        if (call < end && target >= -place && target < kFileBytes)
            PutU32(target + (target < 0 ? kFileBytes : -place), call + 1);
        next = call + kCallBytes;
    }
}

}  // namespace vx
