#include "FatGeometry.h"

#include "Little.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using Kind = FatGeometry::Kind;

constexpr uint64_t kMostClusters = 0xFFFFFFF4;
constexpr uint64_t kLargestCluster = uint64_t{32} << 20;
constexpr uint32_t kEntryBytes = 32;
constexpr uint8_t kExfatMedia = 0xF8;

// Only FAT32 leaves the small field for the size of its table empty; of the other two, FAT12 is
// the one with so few clusters.
Kind KindOfFat(const uint8_t *sector, uint64_t clusters)
{
    constexpr uint64_t kFewestOfFat16 = 4085;
    if (Little16(sector + 22) == 0)
        return Kind::k32;
    return clusters < kFewestOfFat16 ? Kind::k12 : Kind::k16;
}

// FAT32 may keep one copy of its table only up to date, exFAT does so.
void ChooseTable(uint64_t active, FatGeometry *geometry)
{
    geometry->tableOffset += active * geometry->tableBytes;
    geometry->tableCopies = 1;
}

bool TakeFat(const uint8_t *sector, FatGeometry *geometry)
{
    const uint64_t sectorBytes = Little16(sector + 11);
    const uint64_t clusterSectors = sector[13];
    const uint64_t reserved = Little16(sector + 14);
    const uint64_t tables = sector[16];
    const uint64_t rootBytes = uint64_t{Little16(sector + 17)} * kEntryBytes;
    const uint64_t sectors =
        Little16(sector + 19) != 0 ? Little16(sector + 19) : Little32(sector + 32);
    const uint64_t tableSectors =
        Little16(sector + 22) != 0 ? Little16(sector + 22) : Little32(sector + 36);
    if (!IsPowerOfTwo(sectorBytes) || !IsPowerOfTwo(clusterSectors) || sectorBytes < 512 ||
        tables == 0)
        return false;
    const uint64_t rootSector = reserved + tables * tableSectors;
    const uint64_t firstSector = rootSector + (rootBytes + sectorBytes - 1) / sectorBytes;
    if (firstSector >= sectors)
        return false;
    geometry->clusterBytes = static_cast<uint32_t>(clusterSectors * sectorBytes);
    geometry->tableOffset = reserved * sectorBytes;
    geometry->tableBytes = tableSectors * sectorBytes;
    geometry->tableCopies = static_cast<unsigned>(tables);
    geometry->media = sector[21];
    geometry->clustersOffset = firstSector * sectorBytes;
    geometry->clusters = (sectors - firstSector) / clusterSectors;
    geometry->rootOffset = rootSector * sectorBytes;
    geometry->rootBytes = static_cast<uint32_t>(rootBytes);
    geometry->kind = KindOfFat(sector, geometry->clusters);
    if (geometry->kind != Kind::k32)
        return true;
    constexpr unsigned kIsNotMirrored = 0x80;
    const unsigned flags = Little16(sector + 40);
    geometry->rootCluster = Little32(sector + 44);
    if ((flags & kIsNotMirrored) != 0 && (flags & 0xF) < tables)
        ChooseTable(flags & 0xF, geometry);
    return true;
}

bool TakeExfat(const uint8_t *sector, FatGeometry *geometry)
{
    const unsigned sectorShift = sector[108];
    const unsigned clusterShift = sector[109];
    if (sectorShift < 9 || sectorShift > 12 || clusterShift > 25 - sectorShift)
        return false;
    geometry->kind = Kind::kExfat;
    geometry->clusterBytes = 1u << (sectorShift + clusterShift);
    geometry->tableOffset = uint64_t{Little32(sector + 80)} << sectorShift;
    geometry->tableBytes = uint64_t{Little32(sector + 84)} << sectorShift;
    geometry->clustersOffset = uint64_t{Little32(sector + 88)} << sectorShift;
    geometry->clusters = Little32(sector + 92);
    geometry->rootCluster = Little32(sector + 96);
    geometry->media = kExfatMedia;
    const bool isSecondActive = sector[110] == 2 && (sector[106] & 1) != 0;
    ChooseTable(isSecondActive ? 1 : 0, geometry);
    return true;
}

bool HasRoot(const FatGeometry &geometry)
{
    return geometry.rootCluster != 0 || geometry.rootBytes != 0;
}

// How many clusters the table has room for.
uint64_t ClustersOfTable(const FatGeometry &geometry)
{
    switch (geometry.kind) {
    case Kind::k12:
        return geometry.tableBytes * 2 / 3;
    case Kind::k16:
        return geometry.tableBytes / 2;
    case Kind::k32:
    case Kind::kExfat:
        break;
    }
    return geometry.tableBytes / 4;
}

}  // namespace

bool TakeFatGeometry(const uint8_t *sector, FatGeometry *geometry)
{
    *geometry = {};
    const bool isExfat = std::memcmp(sector + 3, "EXFAT   ", 8) == 0;
    const bool good = isExfat ? TakeExfat(sector, geometry) : TakeFat(sector, geometry);
    if (!good || !HasRoot(*geometry) || geometry->clusters == 0 ||
        geometry->clusterBytes > kLargestCluster)
        return false;
    const uint64_t end = std::min({geometry->clusters + FatGeometry::kFirstCluster,
                                   ClustersOfTable(*geometry), kMostClusters});
    if (end <= FatGeometry::kFirstCluster)
        return false;
    geometry->lastCluster = static_cast<uint32_t>(end - 1);
    return true;
}

}  // namespace vx
