#include "FreeClusters.h"

#include "ByteReader.h"

#include <algorithm>
#include <array>

namespace vx {
namespace {

constexpr size_t kPieceBytes = size_t{1} << 20;

uint64_t SetBits(ByteView bytes)
{
    uint64_t set = 0;
    for (size_t at = 0; at < bytes.size; at += 8) {
        std::array<uint8_t, 8> last = {};
        const ByteView eight = bytes.From(at).First(8);
        std::copy(eight.data, eight.data + eight.size, last.begin());
        set += static_cast<uint64_t>(__builtin_popcountll(U64At(last, 0)));
    }
    return set;
}

}  // namespace

std::optional<uint64_t> SumOverPieces(const ByteSource &volume, const FileExtents &extents,
                                      uint64_t begin, uint64_t end,
                                      const std::function<uint64_t(ByteView piece)> &count)
{
    if (end > std::min(extents.size, extents.initialised))
        return std::nullopt;
    std::vector<uint8_t> piece(static_cast<size_t>(std::min<uint64_t>(kPieceBytes, end - begin)));
    uint64_t sum = 0;
    for (uint64_t at = begin; at < end; at += piece.size()) {
        const auto length = static_cast<uint32_t>(std::min<uint64_t>(piece.size(), end - at));
        uint32_t done = 0;
        if (!ReadExtents(volume, extents, at, reinterpret_cast<char *>(piece.data()), length,
                         &done))
            return std::nullopt;
        sum += count(ByteView(piece).First(length));
    }
    return sum;
}

std::optional<uint64_t> CountClearBits(const ByteSource &volume, const FileExtents &bitmap,
                                       uint64_t bits)
{
    if (bits > kMostCountedClusters)
        return std::nullopt;
    const uint64_t whole = bits / 8;
    auto set = SumOverPieces(volume, bitmap, 0, whole, SetBits);
    if (set && bits % 8 != 0) {
        const auto last = SumOverPieces(volume, bitmap, whole, whole + 1, [&](ByteView byte) {
            const auto mask = static_cast<uint8_t>((1U << bits % 8) - 1);
            return static_cast<uint64_t>(__builtin_popcount(U8At(byte, 0) & mask));
        });
        set = last ? std::optional(*set + *last) : std::nullopt;
    }
    return set ? std::optional(bits - *set) : std::nullopt;
}

}  // namespace vx
