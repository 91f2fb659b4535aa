#include "KeyProof.h"

#include "ByteReader.h"
#include "FirstSector.h"

namespace vx::bitlocker {
namespace {

constexpr size_t kClusterSectorsAt = 13;
constexpr size_t kTableClusterAt = 48;
constexpr uint8_t kMostClusterSectors = 128;

using Sector = std::array<uint8_t, kFirstSectorBytes>;

// Zeros if it cannot be read.
Sector SectorAt(const DecryptedVolume &volume, uint64_t offset)
{
    Sector sector{};
    if (offset >= volume.Size() || volume.ReadAt(offset, sector.data(), sector.size()))
        sector.fill(0);
    return sector;
}

// A name of eight letters, or as many numbers that fit together: nothing that another key gives.
bool IsFirstSector(const Sector &sector, uint32_t sectorSize)
{
    const bool isNamed = HasName(sector, kNtfsName) || HasName(sector, kExfatName) ||
                         HasName(sector, kFatName) || LooksLikeFat(sector) ||
                         (HasName(sector, kRefsName) && HasTextAt(sector, 16, "FSRS"));
    const uint32_t stated = StatedSectorSize(sector);
    return isNamed && (stated == 0 || stated == sectorSize);
}

// first: of NTFS. Where its table of files begins; beyond every volume if it does not say.
uint64_t TableOffset(const Sector &first, uint32_t sectorSize)
{
    const uint8_t clusterSectors = U8At(first, kClusterSectorsAt);
    const uint64_t cluster = U64At(first, kTableClusterAt);
    if (clusterSectors == 0 || clusterSectors > kMostClusterSectors)
        return UINT64_MAX;
    const uint64_t clusterSize = uint64_t{clusterSectors} * sectorSize;
    return cluster < UINT64_MAX / clusterSize ? cluster * clusterSize : UINT64_MAX;
}

}  // namespace

bool IsKeyProven(const DecryptedVolume &volume)
{
    const Sector first = SectorAt(volume, 0);
    if (volume.IsEncrypted(0) && IsFirstSector(first, volume.SectorSize()))
        return true;
    const uint64_t lastOffset =
        volume.Size() - std::min<uint64_t>(volume.Size(), volume.SectorSize());
    if (volume.IsEncrypted(lastOffset) && HasName(SectorAt(volume, lastOffset), kNtfsName))
        return true;
    const uint64_t table = TableOffset(first, volume.SectorSize());
    return HasName(first, kNtfsName) && volume.IsEncrypted(table) &&
           HasTextAt(SectorAt(volume, table), 0, "FILE");
}

}  // namespace vx::bitlocker
