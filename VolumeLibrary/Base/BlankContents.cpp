#include "BlankContents.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr KnownContents kZeros = {KnownContents::Form::kBlank, "only zeros in every place examined",
                                  "it was erased, or the copy failed"};
constexpr KnownContents kOnes = {KnownContents::Form::kBlank,
                                 "only bytes of 0xFF in every place examined",
                                 "it was erased, or the device hides its contents"};

constexpr uint64_t kReadWhole = 64 << 20;
constexpr uint64_t kEndBytes = 1 << 20;
constexpr uint64_t kSampleBytes = 4096;
constexpr uint64_t kSamples = 256;
constexpr size_t kPieceBytes = 64 * 1024;

bool IsFilled(const ByteSource &source, uint64_t begin, uint64_t count, uint8_t with)
{
    std::vector<uint8_t> piece(kPieceBytes);
    while (count > 0) {
        const auto bytes = static_cast<size_t>(std::min<uint64_t>(count, piece.size()));
        if (source.ReadAt(begin, piece.data(), bytes) ||
            std::any_of(piece.begin(), piece.begin() + static_cast<ptrdiff_t>(bytes),
                        [&](uint8_t byte) { return byte != with; }))
            return false;
        begin += bytes;
        count -= bytes;
    }
    return true;
}

bool IsFilled(const ByteSource &source, uint8_t with)
{
    const uint64_t size = source.Size();
    if (size <= kReadWhole)
        return IsFilled(source, 0, size, with);
    if (!IsFilled(source, 0, kEndBytes, with) ||
        !IsFilled(source, size - kEndBytes, kEndBytes, with))
        return false;
    for (uint64_t i = 1; i <= kSamples; ++i) {
        if (!IsFilled(source, size / (kSamples + 1) * i, kSampleBytes, with))
            return false;
    }
    return true;
}

}  // namespace

const KnownContents *FindBlankContents(const ByteSource &source)
{
    uint8_t first = 0;
    if (source.Size() == 0 || source.ReadAt(0, &first, 1) || (first != 0 && first != 0xFF))
        return nullptr;
    if (!IsFilled(source, first))
        return nullptr;
    return first == 0 ? &kZeros : &kOnes;
}

}  // namespace vx
