#include "VmdkHeader.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <algorithm>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;
constexpr uint64_t kAtTheEnd = ~uint64_t{0};

bool MakesSense(const VmdkHeader &header)
{
    constexpr uint64_t kMostSectors = uint64_t{1} << 42;
    constexpr uint64_t kLargestGrain = uint64_t{1} << 16;
    constexpr uint64_t kMostEntries = uint64_t{1} << 16;
    const uint64_t largestGrain = header.isPacked ? VmdkHeader::kLargestPackedGrain : kLargestGrain;
    return header.capacity <= kMostSectors && IsPowerOfTwo(header.grain) &&
           header.grain <= largestGrain && header.entries > 0 && header.entries <= kMostEntries &&
           header.directory > 0 &&
           (header.directory <= kMostSectors || header.directory == kAtTheEnd);
}

// head: of kSector bytes.
VmdkHeader Parse(ByteView head)
{
    constexpr size_t kFlagsAt = 8;
    constexpr uint32_t kCopyFlag = 1u << 1;
    constexpr uint32_t kPackedFlag = 1u << 16;
    ByteReader reader(head, kFlagsAt);
    VmdkHeader header;
    const uint32_t flags = reader.U32();
    header.isPacked = (flags & kPackedFlag) != 0;
    header.capacity = reader.U64();
    header.grain = reader.U64();
    header.text = reader.U64();
    header.textSectors = reader.U64();
    header.entries = reader.U32();
    const uint64_t secondDirectory = reader.U64();
    header.secondDirectory = (flags & kCopyFlag) != 0 ? secondDirectory : 0;
    header.directory = reader.U64();
    return header;
}

Result<VmdkHeader> ReadAt(const ByteSource &file, uint64_t place)
{
    uint8_t bytes[kSector];
    if (Error error = file.ReadAt(place, bytes, sizeof bytes))
        return error;
    const VmdkHeader header = Parse({bytes, sizeof bytes});
    if (!IsVmdkThatGrows({bytes, sizeof bytes}) || !MakesSense(header))
        return DamagedVmdk();
    return header;
}

}  // namespace

Error DamagedVmdk()
{
    return {Status::kDamagedContainer,
            "the VMDK image is damaged, or one of its parts is missing or cannot be read"};
}

bool IsVmdkThatGrows(ByteView head)
{
    return ByteReader(head).TakeMark(kVmdkMark);
}

bool IsVmdkBesideItsMark(ByteView head)
{
    constexpr uint32_t kNewestVersion = 3;
    constexpr size_t kVersionAt = 4;
    constexpr size_t kEndsOfLinesAt = 73;
    if (head.size < kSector)
        return false;
    const uint32_t version = U32At(head, kVersionAt);
    return version >= 1 && version <= kNewestVersion &&
           ByteReader(head, kEndsOfLinesAt).TakeMark("\n \r\n") && MakesSense(Parse(head));
}

Result<VmdkHeader> ReadVmdkHeader(const ByteSource &file)
{
    constexpr uint64_t kFromTheEnd = 2 * kSector;
    auto first = ReadAt(file, 0);
    if (!first || first->directory != kAtTheEnd)
        return first;
    auto last = ReadAt(file, file.Size() - std::min(file.Size(), kFromTheEnd));
    const bool isDamaged = !last && last.Failure().status == Status::kDamagedContainer;
    if (isDamaged || (last && last->directory == kAtTheEnd))
        return Error{Status::kTruncatedImage, "the last header of the image is missing"};
    if (!last)
        return last;
    last->text = first->text;
    last->textSectors = first->textSectors;
    return last;
}

}  // namespace vx
