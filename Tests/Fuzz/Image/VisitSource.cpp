#include "VisitSource.h"

#include "../Require.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

// In a buffer of exactly this size, so that a write beyond it is reported.
std::optional<Bytes> Read(const ByteSource &source, uint64_t offset, uint64_t count)
{
    const uint64_t left = source.Size() - std::min(source.Size(), offset);
    Bytes bytes(static_cast<size_t>(std::min(count, left)));
    const Error error = source.ReadAt(offset, bytes.data(), bytes.size());
    Require(!error || !error.detail.empty(), "a failure has a text");
    return error ? std::nullopt : std::optional(std::move(bytes));
}

void ReadTwice(const ByteSource &source, uint64_t offset, uint64_t count)
{
    const auto all = Read(source, offset, count);
    const auto half = Read(source, offset, count / 2);
    Require(!all || half, "what was read can be read again");
    if (all && half)
        Require(std::equal(half->begin(), half->end(), all->begin()), "a byte stays the same");
}

}  // namespace

void VisitSource(const ByteSource &source)
{
    constexpr uint64_t kSizes[] = {1, 512, 700, 4096, 70000};
    constexpr uint64_t kSteps = 4;
    constexpr uint64_t kLong = 3 << 20;
    if (source.Size() <= kLong)
        ReadTwice(source, 0, source.Size());
    for (const uint64_t count : kSizes) {
        for (uint64_t step = 0; step <= kSteps; ++step)
            ReadTwice(source, source.Size() / kSteps * step, count);
        ReadTwice(source, count, count);
        ReadTwice(source, source.Size() - std::min(source.Size(), count), count);
    }
}

}  // namespace vx
