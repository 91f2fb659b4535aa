#include "FatBoot.h"

#include "BitlockerMark.h"
#include "ByteReader.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kFat32BackupSector = 6;
constexpr uint64_t kExfatBackupSector = 12;
constexpr uint64_t kSectorSizes[] = {512, 1024, 2048, 4096};

struct Candidate {
    FatBoot boot;
    bool isRead = false;
    bool isSensible = false;
    bool isConfirmed = false;  // by what else the volume holds
};

bool EndsAsBootSector(ByteView sector)
{
    return U16At(sector, 510) == 0xAA55;
}

unsigned ExfatSectorShift(ByteView sector)
{
    return U8At(sector, 108);
}

// Where a boot sector of FAT32 says that its backup lies.
uint64_t StatedBackupOffset(ByteView sector)
{
    return uint64_t{U16At(sector, 50)} * U16At(sector, 11);
}

// bytes: the boot sectors, all but the last one of them, which holds the sum.
uint32_t ExfatBootSum(const std::vector<uint8_t> &bytes, size_t count)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const bool mayChange = i == 106 || i == 107 || i == 112;
        if (!mayChange)
            sum = (sum >> 1 | sum << 31) + bytes[i];
    }
    return sum;
}

// offset: of the first of the boot sectors, which gives their size.
bool IsExfatBootWhole(const ByteSource &volume, uint64_t offset, ByteView sector)
{
    constexpr size_t kSummed = 11;
    const size_t sectorBytes = size_t{1} << ExfatSectorShift(sector);
    std::vector<uint8_t> bytes((kSummed + 1) * sectorBytes);
    if (volume.ReadAt(offset, bytes.data(), bytes.size()))
        return false;
    const uint32_t sum = ExfatBootSum(bytes, kSummed * sectorBytes);
    for (size_t at = kSummed * sectorBytes; at < bytes.size(); at += 4) {
        if (U32At(bytes, at) != sum)
            return false;
    }
    return true;
}

bool FitsItsTable(const ByteSource &volume, const FatGeometry &geometry)
{
    if (geometry.lastCluster + uint64_t{1} != geometry.clusters + FatGeometry::kFirstCluster)
        return false;
    for (unsigned copy = 0; copy < geometry.tableCopies; ++copy) {
        uint8_t first = 0;
        if (!volume.ReadAt(geometry.tableOffset + copy * geometry.tableBytes, &first, 1) &&
            first == geometry.media)
            return true;
    }
    return false;
}

Candidate CandidateAt(const ByteSource &volume, uint64_t offset)
{
    Candidate found;
    FatBoot &boot = found.boot;
    found.isRead = !volume.ReadAt(offset, boot.sector.data(), boot.sector.size());
    const auto geometry = found.isRead ? TakeFatGeometry(boot.sector) : std::nullopt;
    if (!geometry)
        return found;
    boot.geometry = *geometry;
    found.isSensible = true;
    if (EndsAsBootSector(boot.sector))
        found.isConfirmed = boot.IsExfat() ? IsExfatBootWhole(volume, offset, boot.sector)
                                           : FitsItsTable(volume, boot.geometry);
    return found;
}

// Whether a sector that lies at this offset says that backups lie there.
bool IsBackupOf(const Candidate &found, uint64_t offset)
{
    const ByteView sector = found.boot.sector;
    if (offset == 0 || !EndsAsBootSector(sector))
        return false;
    if (found.boot.IsExfat())
        return offset == kExfatBackupSector << ExfatSectorShift(sector);
    return found.boot.geometry.kind == FatGeometry::Kind::k32 &&
           offset == StatedBackupOffset(sector);
}

bool IsEncrypted(const FatBoot &boot)
{
    return HasBitlockerToGoMark(boot.sector);
}

// first: the first sector, which may say where the backup is.
std::optional<Candidate> FindBackup(const ByteSource &volume, const Candidate &first)
{
    std::vector<uint64_t> offsets;
    if (first.isRead)
        offsets.push_back(StatedBackupOffset(first.boot.sector));
    for (const uint64_t sectorBytes : kSectorSizes) {
        offsets.push_back(kFat32BackupSector * sectorBytes);
        offsets.push_back(kExfatBackupSector * sectorBytes);
    }
    std::optional<Candidate> backup;
    for (const uint64_t offset : offsets) {
        Candidate found = CandidateAt(volume, offset);
        if (!found.isSensible || !IsBackupOf(found, offset) || IsEncrypted(found.boot))
            continue;
        if (found.isConfirmed)
            return found;
        if (!backup)
            backup = std::move(found);
    }
    return backup;
}

// The boot code of a volume does not look like this.
bool LooksPartitioned(ByteView sector)
{
    if (!EndsAsBootSector(sector))
        return false;
    bool hasPartition = false;
    for (size_t at = 446; at < 510; at += 16) {
        const ByteView entry = sector.From(at).First(16);
        if ((U8At(entry, 0) & 0x7F) != 0)
            return false;
        hasPartition = hasPartition || (U8At(entry, 4) != 0 && U32At(entry, 12) != 0);
    }
    return hasPartition;
}

bool SaySame(const FatGeometry &a, const FatGeometry &b)
{
    return a.kind == b.kind && a.clusterBytes == b.clusterBytes && a.tableOffset == b.tableOffset &&
           a.clustersOffset == b.clustersOffset && a.clusters == b.clusters &&
           a.rootCluster == b.rootCluster;
}

bool MayHaveBackup(const FatGeometry &geometry)
{
    return geometry.kind == FatGeometry::Kind::k32 || geometry.kind == FatGeometry::Kind::kExfat;
}

std::string WhatIsWrong(const Candidate &first)
{
    return first.isRead ? "its boot sector is damaged" : "its boot sector cannot be read";
}

// How many bytes of the table no cluster needs. Programs that make volumes leave few of them.
uint64_t SpareTableBytes(const FatGeometry &geometry)
{
    return geometry.tableBytes - (geometry.clusters + FatGeometry::kFirstCluster) * 4;
}

// Of two boot sectors of FAT32 that both fit the table and contradict each other.
bool IsLikelier(const FatGeometry &a, const FatGeometry &b)
{
    const uint64_t spareOfA = SpareTableBytes(a);
    const uint64_t spareOfB = SpareTableBytes(b);
    return spareOfA < spareOfB ||
           (spareOfA == spareOfB && a.rootCluster == FatGeometry::kFirstCluster &&
            b.rootCluster != FatGeometry::kFirstCluster);
}

bool IsBackupBetter(const Candidate &first, const Candidate &backup)
{
    if (!first.isSensible || !backup.isConfirmed)
        return !first.isSensible;
    return !first.isConfirmed || (backup.boot.geometry.kind == first.boot.geometry.kind &&
                                  IsLikelier(backup.boot.geometry, first.boot.geometry));
}

// Of a first sector by which the volume is read; backup: what was found of it.
std::string NoteOf(const Candidate &first, const std::optional<Candidate> &backup)
{
    if (!first.isConfirmed)
        return first.boot.IsExfat()
                   ? "its boot sectors do not fit their checksum, and there is no sound backup"
                   : "";
    const bool differs =
        backup && backup->isConfirmed && !SaySame(first.boot.geometry, backup->boot.geometry);
    return differs ? "its boot sector differs from the backup, which seems to be the damaged one"
                   : "";
}

}  // namespace

uint64_t FatBoot::StatedBytes() const
{
    const uint64_t few = U16At(sector, 19);
    const uint64_t sectors = IsExfat() ? U64At(sector, 72) : few != 0 ? few : U32At(sector, 32);
    const uint64_t sectorBytes =
        IsExfat() ? uint64_t{1} << ExfatSectorShift(sector) : U16At(sector, 11);
    uint64_t bytes = 0;
    return __builtin_mul_overflow(sectors, sectorBytes, &bytes) ? 0 : bytes;
}

Result<FatBoot> FindFatBoot(const ByteSource &volume)
{
    Candidate first = CandidateAt(volume, 0);
    if (first.isConfirmed && first.boot.IsExfat())
        return std::move(first.boot);
    const bool mayHaveBackup = !first.isSensible || MayHaveBackup(first.boot.geometry);
    auto backup = mayHaveBackup ? FindBackup(volume, first) : std::nullopt;
    if (backup && IsBackupBetter(first, *backup)) {
        backup->boot.isBackup = true;
        backup->boot.note = WhatIsWrong(first) + "; the backup of it was used";
        return std::move(backup->boot);
    }
    if (!first.isSensible)
        return Error{Status::kDamagedFileSystem, first.isRead
                                                     ? "its first sector is not a valid boot sector"
                                                     : "its first sector cannot be read"};
    first.boot.note = NoteOf(first, backup);
    return std::move(first.boot);
}

std::optional<FatBoot> FindFatBackupBoot(const ByteSource &volume)
{
    const Candidate first = CandidateAt(volume, 0);
    if (first.isRead && LooksPartitioned(first.boot.sector))
        return std::nullopt;
    auto backup = FindBackup(volume, first);
    if (!backup || !backup->isConfirmed)
        return std::nullopt;
    return std::move(backup->boot);
}

}  // namespace vx
