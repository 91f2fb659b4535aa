#include "GptTable.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "PartitionTypes.h"
#include "Wtf8.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace vx {
namespace {

constexpr uint32_t kSmallestEntry = 128;
constexpr uint32_t kSmallestHeader = 92;
constexpr size_t kHeaderSizeAt = 12;
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
    const size_t size = U32At(sector, kHeaderSizeAt);
    return size >= kSmallestHeader && size <= sector.size &&
           U32At(sector, kHeaderChecksumAt) ==
               Crc32WithoutField(sector.First(size), kHeaderChecksumAt);
}

// Nothing if this is no header, or one that leads nowhere.
std::optional<Header> HeaderIn(ByteView sector, uint64_t diskBytes)
{
    constexpr size_t kVersionSizeAndChecksum = 16;
    constexpr size_t kUsableSectorsAndDiskGuid = 32;
    Header header;
    ByteReader reader(sector);
    if (!reader.TakeMark("EFI PART"))
        return std::nullopt;
    reader.Skip(kVersionSizeAndChecksum);
    header.ownSector = reader.U64();
    header.otherSector = reader.U64();
    reader.Skip(kUsableSectorsAndDiskGuid);
    const uint64_t entriesSector = reader.U64();
    header.count = reader.U32();
    header.stride = reader.U32();
    header.entriesChecksum = reader.U32();
    header.isRight = IsChecksumRight(sector);
    const bool leadsToEntries =
        reader.Good() &&
        !__builtin_mul_overflow(entriesSector, uint64_t{sector.size}, &header.entriesAt) &&
        header.count <= GptTable::kMostEntries && header.stride >= kSmallestEntry &&
        header.stride <= GptTable::kLargestEntry && header.entriesAt <= diskBytes &&
        header.EntriesBytes() <= diskBytes - header.entriesAt;
    return leadsToEntries ? std::optional(header) : std::nullopt;
}

PartitionUse UseOf(const Guid &type)
{
    if (type == kStorageSpaces)
        return PartitionUse::kStorageSpaces;
    return type == kLdmData || type == kLdmMetadata ? PartitionUse::kDynamicDisk
                                                    : PartitionUse::kOrdinary;
}

std::string NameOf(ByteView entry)
{
    const ByteView name = entry.First(kSmallestEntry).From(kNameAt);
    size_t end = 0;
    while (U16At(name, end) != 0)
        end += 2;
    return Wtf8FromUtf16(name.First(end));
}

// Nothing if the entry is not in use or not valid.
std::optional<PartitionPlace> PlaceIn(ByteView entry)
{
    constexpr Guid kUnused = {};
    ByteReader reader(entry);
    const Guid type = reader.TakeGuid();
    reader.TakeGuid();  // its own
    const uint64_t first = reader.U64();
    const uint64_t last = reader.U64();
    if (type == kUnused || last < first || last - first == ~uint64_t{0})
        return std::nullopt;
    return PartitionPlace{first, last - first + 1, NameOf(entry), UseOf(type), GptTypeName(type)};
}

struct EntriesRead {
    std::vector<uint8_t> bytes;  // of all entries; those that cannot be read are zeros, as unused
    Error unread;
};

EntriesRead ReadEntries(const ByteSource &disk, const Header &header)
{
    EntriesRead entries;
    entries.bytes.resize(header.EntriesBytes());
    if (!disk.ReadAt(header.entriesAt, entries.bytes.data(), entries.bytes.size()))
        return entries;
    std::fill(entries.bytes.begin(), entries.bytes.end(), 0);
    std::array<uint8_t, kSmallestEntry> entry;
    for (size_t begin = 0; begin < entries.bytes.size(); begin += header.stride) {
        if (Error error = disk.ReadAt(header.entriesAt + begin, entry.data(), entry.size()))
            entries.unread = std::move(error);
        else
            std::copy(entry.begin(), entry.end(),
                      entries.bytes.begin() + static_cast<ptrdiff_t>(begin));
    }
    return entries;
}

}  // namespace

GptTable GptTable::Read(const ByteSource &disk, uint64_t sectorBytes, uint64_t sector)
{
    GptTable table;
    if (sector >= disk.Size() / sectorBytes)
        return table;
    std::vector<uint8_t> bytes(static_cast<size_t>(sectorBytes));
    table.unread = disk.ReadAt(sector * sectorBytes, bytes.data(), bytes.size());
    if (table.unread)
        return table;
    const auto header = HeaderIn(bytes, disk.Size());
    if (!header)
        return table;
    EntriesRead entries = ReadEntries(disk, *header);
    for (size_t at = 0; at < entries.bytes.size(); at += header->stride) {
        if (auto place = PlaceIn(ByteView(entries.bytes).From(at).First(header->stride)))
            table.places.push_back(std::move(*place));
    }
    table.unread = std::move(entries.unread);
    table.isFound = true;
    table.isInItsPlace = header->ownSector == sector;
    table.isHeaderRight = header->isRight;
    table.areEntriesRight =
        !table.unread && Crc32().Add(entries.bytes).Value() == header->entriesChecksum;
    table.otherSector = header->isRight ? header->otherSector : 0;
    return table;
}

}  // namespace vx
