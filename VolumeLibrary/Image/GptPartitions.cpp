#include "GptPartitions.h"

#include "Little.h"
#include "Wtf8.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr uint32_t kMostEntries = 1024;
constexpr uint32_t kEntryBytes = 128;
constexpr uint32_t kLargestEntry = 4096;

bool IsUsed(const uint8_t *entry)
{
    constexpr size_t kTypeBytes = 16;
    return std::any_of(entry, entry + kTypeBytes, [](uint8_t byte) { return byte != 0; });
}

std::string NameOf(const uint8_t *entry)
{
    constexpr size_t kNameAt = 56;
    size_t end = kNameAt;
    while (end < kEntryBytes && Little16(entry + end) != 0)
        end += 2;
    return Wtf8FromUtf16({entry + kNameAt, end - kNameAt});
}

bool TakePlace(const uint8_t *entry, PartitionPlace *place)
{
    const uint64_t first = Little64(entry + 32);
    const uint64_t last = Little64(entry + 40);
    if (!IsUsed(entry) || last < first || last - first == ~uint64_t{0})
        return false;
    *place = {first, last - first + 1, NameOf(entry)};
    return true;
}

// Whether the bytes are there. A table that leads off the disk is damaged, and not unreadable.
bool Read(const bitlocker::ByteSource &disk, uint64_t at, void *bytes, size_t count,
          bitlocker::Error *unread)
{
    bitlocker::Error error = disk.readAt(at, bytes, count);
    if (!error)
        return true;
    if (error.status == bitlocker::Status::SystemError)
        *unread = std::move(error);
    return false;
}

// False if there is no header, or a damaged one.
bool ReadTable(const bitlocker::ByteSource &disk, uint64_t sectorBytes, uint64_t headerAt,
               std::vector<PartitionPlace> *places, bitlocker::Error *unread)
{
    uint8_t header[92];
    if (!Read(disk, headerAt, header, sizeof header, unread) ||
        std::memcmp(header, "EFI PART", 8) != 0)
        return false;
    uint64_t at = 0;
    const uint32_t count = Little32(header + 80);
    const uint32_t stride = Little32(header + 84);
    if (__builtin_mul_overflow(Little64(header + 72), sectorBytes, &at) || count > kMostEntries ||
        stride < kEntryBytes || stride > kLargestEntry)
        return false;
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t entry[kEntryBytes];
        uint64_t offset = 0;
        if (__builtin_add_overflow(at, uint64_t{i} * stride, &offset) ||
            !Read(disk, offset, entry, sizeof entry, unread))
            return false;
        PartitionPlace place;
        if (TakePlace(entry, &place))
            places->push_back(std::move(place));
    }
    return true;
}

}  // namespace

std::vector<PartitionPlace> ReadGptPartitions(const bitlocker::ByteSource &disk,
                                              uint64_t sectorBytes, bitlocker::Error *unread)
{
    std::vector<PartitionPlace> places;
    bitlocker::Error error;
    if (ReadTable(disk, sectorBytes, sectorBytes, &places, &error))
        return places;
    places.clear();
    const uint64_t lastSector = disk.size() / sectorBytes - 1;
    if (disk.size() >= 2 * sectorBytes &&
        ReadTable(disk, sectorBytes, lastSector * sectorBytes, &places, &error))
        return places;
    *unread = std::move(error);
    return {};
}

}  // namespace vx
