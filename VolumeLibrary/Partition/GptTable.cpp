#include "GptTable.h"

#include "Crc32.h"
#include "Guid.h"
#include "Little.h"
#include "Wtf8.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

constexpr uint32_t kSmallestEntry = 128;
constexpr uint32_t kSmallestHeader = 92;
constexpr size_t kHeaderChecksumAt = 16;
constexpr size_t kNameAt = 56;

// Types of partitions that Windows assigns; public in Microsoft's documentation of
// PARTITION_INFORMATION_GPT.
constexpr Guid kLdmMetadata = {{0xAA, 0xC8, 0x08, 0x58, 0x8F, 0x7E, 0xE0, 0x42, 0x85, 0xD2, 0xE1,
                                0xE9, 0x04, 0x34, 0xCF, 0xB3}};
constexpr Guid kLdmData = {{0xA0, 0x60, 0x9B, 0xAF, 0x31, 0x14, 0x62, 0x4F, 0xBC, 0x68, 0x33, 0x11,
                            0x71, 0x4A, 0x69, 0xAD}};
constexpr Guid kStorageSpaces = {{0x8F, 0xAF, 0x5C, 0xE7, 0x80, 0xF6, 0xEE, 0x4C, 0xAF, 0xA3, 0xB0,
                                  0x01, 0xE5, 0x6E, 0xFC, 0x2D}};

struct Header {
    uint64_t ownSector = 0;
    uint64_t otherSector = 0;
    uint64_t entriesAt = 0;  // bytes
    uint32_t count = 0;
    uint32_t stride = 0;
    uint32_t entriesChecksum = 0;
    bool isRight = false;

    size_t EntriesBytes() const { return size_t{count} * stride; }
};

bool IsChecksumRight(ByteView sector)
{
    const size_t size = Little32(sector.data + 12);
    return size >= kSmallestHeader && size <= sector.size &&
           Little32(sector.data + kHeaderChecksumAt) ==
               Crc32WithoutField(sector.First(size), kHeaderChecksumAt);
}

// False if this is no header, or one that leads nowhere.
bool TakeHeader(ByteView sector, uint64_t diskBytes, Header *header)
{
    const uint8_t *at = sector.data;
    if (std::memcmp(at, "EFI PART", 8) != 0)
        return false;
    header->ownSector = Little64(at + 24);
    header->otherSector = Little64(at + 32);
    header->count = Little32(at + 80);
    header->stride = Little32(at + 84);
    header->entriesChecksum = Little32(at + 88);
    header->isRight = IsChecksumRight(sector);
    return !__builtin_mul_overflow(Little64(at + 72), uint64_t{sector.size}, &header->entriesAt) &&
           header->count <= GptTable::kMostEntries && header->stride >= kSmallestEntry &&
           header->stride <= GptTable::kLargestEntry && header->entriesAt <= diskBytes &&
           header->EntriesBytes() <= diskBytes - header->entriesAt;
}

PartitionUse UseOf(const uint8_t *entry)
{
    Guid type;
    std::copy(entry, entry + type.bytes.size(), type.bytes.begin());
    if (type == kStorageSpaces)
        return PartitionUse::kStorageSpaces;
    return type == kLdmData || type == kLdmMetadata ? PartitionUse::kDynamicDisk
                                                    : PartitionUse::kOrdinary;
}

bool IsUsed(const uint8_t *entry)
{
    constexpr size_t kTypeBytes = 16;
    return std::any_of(entry, entry + kTypeBytes, [](uint8_t byte) { return byte != 0; });
}

std::string NameOf(const uint8_t *entry)
{
    size_t end = kNameAt;
    while (end < kSmallestEntry && Little16(entry + end) != 0)
        end += 2;
    return Wtf8FromUtf16({entry + kNameAt, end - kNameAt});
}

void TakeEntry(const uint8_t *entry, std::vector<PartitionPlace> *places)
{
    const uint64_t first = Little64(entry + 32);
    const uint64_t last = Little64(entry + 40);
    if (IsUsed(entry) && last >= first && last - first != ~uint64_t{0})
        places->push_back({first, last - first + 1, NameOf(entry), UseOf(entry)});
}

// The bytes of all entries; zeros, which no entry is made of, where they cannot be read.
std::vector<uint8_t> ReadEntries(const ByteSource &disk, const Header &header, Error *unread)
{
    std::vector<uint8_t> bytes(header.EntriesBytes());
    if (!disk.ReadAt(header.entriesAt, bytes.data(), bytes.size()))
        return bytes;
    std::fill(bytes.begin(), bytes.end(), 0);
    for (uint32_t i = 0; i < header.count; ++i) {
        const size_t begin = size_t{i} * header.stride;
        std::vector<uint8_t> entry(kSmallestEntry);
        if (Error error = disk.ReadAt(header.entriesAt + begin, entry.data(), entry.size()))
            *unread = std::move(error);
        else
            std::copy(entry.begin(), entry.end(), bytes.begin() + static_cast<ptrdiff_t>(begin));
    }
    return bytes;
}

}  // namespace

GptTable GptTable::Read(const ByteSource &disk, uint64_t sectorBytes, uint64_t sector)
{
    GptTable table;
    std::vector<uint8_t> bytes(static_cast<size_t>(sectorBytes));
    if (sector >= disk.Size() / sectorBytes)
        return table;
    table.unread = disk.ReadAt(sector * sectorBytes, bytes.data(), bytes.size());
    Header header;
    if (table.unread || !TakeHeader(bytes, disk.Size(), &header))
        return table;
    const std::vector<uint8_t> entries = ReadEntries(disk, header, &table.unread);
    for (size_t at = 0; at < entries.size(); at += header.stride)
        TakeEntry(entries.data() + at, &table.places);
    table.isFound = true;
    table.isInItsPlace = header.ownSector == sector;
    table.isHeaderRight = header.isRight;
    table.areEntriesRight = !table.unread && Crc32().Add(entries).Value() == header.entriesChecksum;
    table.otherSector = header.isRight ? header.otherSector : 0;
    return table;
}

}  // namespace vx
