#include "VmdkHeader.h"

#include "Little.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;
constexpr uint64_t kAtTheEnd = ~uint64_t{0};

std::optional<VmdkHeader> Parse(const uint8_t *bytes)
{
    constexpr uint64_t kMostSectors = uint64_t{1} << 42;
    constexpr uint64_t kLargestGrain = uint64_t{1} << 16;
    constexpr uint64_t kMostEntries = uint64_t{1} << 16;
    constexpr uint32_t kCopyFlag = 1u << 1;
    constexpr uint32_t kPackedFlag = 1u << 16;
    const uint32_t flags = Little32(bytes + 8);
    VmdkHeader header;
    header.isPacked = (flags & kPackedFlag) != 0;
    header.capacity = Little64(bytes + 12);
    header.grain = Little64(bytes + 20);
    header.text = Little64(bytes + 28);
    header.textSectors = Little64(bytes + 36);
    header.entries = Little32(bytes + 44);
    header.secondDirectory = (flags & kCopyFlag) != 0 ? Little64(bytes + 48) : 0;
    header.directory = Little64(bytes + 56);
    const uint64_t largestGrain = header.isPacked ? VmdkHeader::kLargestPackedGrain : kLargestGrain;
    const bool makesSense = IsVmdkThatGrows({bytes, kSector}) && header.capacity <= kMostSectors &&
                            IsPowerOfTwo(header.grain) && header.grain <= largestGrain &&
                            header.entries > 0 && header.entries <= kMostEntries &&
                            header.directory > 0 &&
                            (header.directory <= kMostSectors || header.directory == kAtTheEnd);
    return makesSense ? std::optional(header) : std::nullopt;
}

}  // namespace

bool IsVmdkThatGrows(ByteView head)
{
    constexpr char kMark[] = {'K', 'D', 'M', 'V'};
    return head.size >= sizeof kMark && std::memcmp(head.data, kMark, sizeof kMark) == 0;
}

Error ReadVmdkHeader(const ByteSource &file, std::optional<VmdkHeader> *header)
{
    constexpr uint64_t kFromTheEnd = 2 * kSector;
    uint8_t bytes[kSector];
    if (Error error = file.ReadAt(0, bytes, sizeof bytes))
        return error;
    *header = Parse(bytes);
    if (!*header || (*header)->directory != kAtTheEnd)
        return {};
    const VmdkHeader first = **header;
    if (Error error =
            file.ReadAt(file.Size() - std::min(file.Size(), kFromTheEnd), bytes, sizeof bytes))
        return error;
    *header = Parse(bytes);
    if (!*header || (*header)->directory == kAtTheEnd)
        return {Status::kTruncatedImage, "the last header of the image is missing", 0};
    (*header)->text = first.text;
    (*header)->textSectors = first.textSectors;
    return {};
}

}  // namespace vx
