#include "DiskWriter.h"

#include "Crc32.h"

namespace vx {

void DiskWriter::Put(size_t at, uint64_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        _bytes.at(at + i) = static_cast<char>(value >> (8 * i));
}

void DiskWriter::PutMbr(size_t sector, size_t entry, uint8_t type, uint32_t first, uint32_t sectors)
{
    const size_t at = sector * kSector + 446 + 16 * entry;
    Put(at + 4, type, 1);
    Put(at + 8, first, 4);
    Put(at + 12, sectors, 4);
    Put(sector * kSector + 510, 0xAA55, 2);
}

void DiskWriter::PutGptEntry(size_t at, uint64_t first, uint64_t last, const std::string &name)
{
    Put(at, 0x11, 1);
    Put(at + 32, first, 8);
    Put(at + 40, last, 8);
    for (size_t i = 0; i < name.size(); ++i)
        Put(at + 56 + 2 * i, static_cast<uint8_t>(name[i]), 2);
}

void DiskWriter::PutGptType(size_t at, const std::array<uint8_t, 16> &type)
{
    PutText(at, std::string(type.begin(), type.end()));
}

void DiskWriter::PutGpt(const GptHeader &header)
{
    constexpr size_t kHeaderBytes = 92;
    const size_t at = static_cast<size_t>(header.sector) * header.sectorBytes;
    const uint64_t entriesAt = header.entries * header.sectorBytes;
    const uint64_t entriesBytes = uint64_t{header.count} * header.stride;
    PutText(at, "EFI PART");
    Put(at + 8, 0x10000, 4);
    Put(at + 12, kHeaderBytes, 4);
    Put(at + 16, 0, 4);
    Put(at + 24, header.sector, 8);
    Put(at + 32, header.other, 8);
    Put(at + 72, header.entries, 8);
    Put(at + 80, header.count, 4);
    Put(at + 84, header.stride, 4);
    if (entriesAt < _bytes.size() && entriesBytes <= _bytes.size() - entriesAt)
        Put(at + 88, Checksum(static_cast<size_t>(entriesAt), static_cast<size_t>(entriesBytes)),
            4);
    Put(at + 16, Checksum(at, kHeaderBytes), 4);
}

uint32_t DiskWriter::Checksum(size_t at, size_t count) const
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(_bytes.data()) + at;
    return Crc32().Add({bytes, count}).Value();
}

}  // namespace vx
