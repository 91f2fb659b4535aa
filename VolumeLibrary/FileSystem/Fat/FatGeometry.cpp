#include "FatGeometry.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <algorithm>

namespace vx {
namespace {

using Kind = FatGeometry::Kind;

constexpr uint64_t kMostClusters = 0xFFFFFFF4;
constexpr uint64_t kLargestCluster = uint64_t{32} << 20;
constexpr uint32_t kEntryBytes = 32;
constexpr uint8_t kExfatMedia = 0xF8;

// What of a boot sector of FAT is used. What only FAT32 has means nothing in the others.
struct FatFields {
    uint64_t sectorBytes = 0;
    uint64_t clusterSectors = 0;
    uint64_t reserved = 0;  // sectors in front of the tables
    uint64_t tables = 0;
    uint64_t rootBytes = 0;
    uint64_t sectors = 0;
    uint8_t media = 0;
    uint64_t tableSectors = 0;
    bool isFat32 = false;  // only it leaves the small field for the size of its table empty
    unsigned flags32 = 0;
    uint32_t rootCluster32 = 0;

    explicit FatFields(ByteView sector)
    {
        ByteReader reader(sector, 11);
        sectorBytes = reader.U16();
        clusterSectors = reader.U8();
        reserved = reader.U16();
        tables = reader.U8();
        rootBytes = uint64_t{reader.U16()} * kEntryBytes;
        const uint16_t fewSectors = reader.U16();
        media = reader.U8();
        const uint16_t fewTableSectors = reader.U16();
        reader.Skip(8);  // the shape of the disk, what lies in front of the volume
        const uint32_t manySectors = reader.U32();
        const uint32_t manyTableSectors = reader.U32();
        flags32 = reader.U16();
        reader.Skip(2);  // the version
        rootCluster32 = reader.U32();
        isFat32 = fewTableSectors == 0;
        sectors = fewSectors != 0 ? fewSectors : manySectors;
        tableSectors = isFat32 ? manyTableSectors : fewTableSectors;
    }

    bool HasSectorsAndTables() const
    {
        return IsPowerOfTwo(sectorBytes) && IsPowerOfTwo(clusterSectors) && sectorBytes >= 512 &&
               tables > 0;
    }
};

// FAT12 and FAT16 differ in the number of clusters only.
Kind KindOfFat(const FatFields &fields, uint64_t clusters)
{
    constexpr uint64_t kFewestOfFat16 = 4085;
    if (fields.isFat32)
        return Kind::k32;
    return clusters < kFewestOfFat16 ? Kind::k12 : Kind::k16;
}

// FAT32 may keep only one copy of its table up to date; exFAT always does.
void ChooseTable(uint64_t active, FatGeometry *geometry)
{
    geometry->tableOffset += active * geometry->tableBytes;
    geometry->tableCopies = 1;
}

std::optional<FatGeometry> TakeFat(ByteView sector)
{
    const FatFields fields(sector);
    if (!fields.HasSectorsAndTables())
        return std::nullopt;
    const uint64_t rootSector = fields.reserved + fields.tables * fields.tableSectors;
    const uint64_t firstSector =
        rootSector + (fields.rootBytes + fields.sectorBytes - 1) / fields.sectorBytes;
    if (firstSector >= fields.sectors)
        return std::nullopt;
    FatGeometry geometry;
    geometry.media = fields.media;
    geometry.clusterBytes = static_cast<uint32_t>(fields.clusterSectors * fields.sectorBytes);
    geometry.tableOffset = fields.reserved * fields.sectorBytes;
    geometry.tableBytes = fields.tableSectors * fields.sectorBytes;
    geometry.tableCopies = static_cast<unsigned>(fields.tables);
    geometry.clustersOffset = firstSector * fields.sectorBytes;
    geometry.clusters = (fields.sectors - firstSector) / fields.clusterSectors;
    geometry.rootOffset = rootSector * fields.sectorBytes;
    geometry.rootBytes = static_cast<uint32_t>(fields.rootBytes);
    geometry.kind = KindOfFat(fields, geometry.clusters);
    if (geometry.kind != Kind::k32)
        return geometry;
    constexpr unsigned kIsNotMirrored = 0x80;
    const unsigned active = fields.flags32 & 0xF;
    geometry.rootCluster = fields.rootCluster32;
    if ((fields.flags32 & kIsNotMirrored) != 0 && active < fields.tables)
        ChooseTable(active, &geometry);
    return geometry;
}

std::optional<FatGeometry> TakeExfat(ByteView sector)
{
    ByteReader reader(sector, 80);
    const uint64_t tableSector = reader.U32();
    const uint64_t tableSectors = reader.U32();
    const uint64_t firstSector = reader.U32();
    const uint32_t clusters = reader.U32();
    const uint32_t rootCluster = reader.U32();
    reader.Skip(6);  // a number of the volume, a version
    const unsigned flags = reader.U16();
    const unsigned sectorShift = reader.U8();
    const unsigned clusterShift = reader.U8();
    const unsigned tables = reader.U8();
    if (sectorShift < 9 || sectorShift > 12 || clusterShift > 25 - sectorShift)
        return std::nullopt;
    FatGeometry geometry;
    geometry.kind = Kind::kExfat;
    geometry.media = kExfatMedia;
    geometry.clusterBytes = 1u << (sectorShift + clusterShift);
    geometry.tableOffset = tableSector << sectorShift;
    geometry.tableBytes = tableSectors << sectorShift;
    geometry.clustersOffset = firstSector << sectorShift;
    geometry.clusters = clusters;
    geometry.rootCluster = rootCluster;
    const bool isSecondActive = tables == 2 && (flags & 1) != 0;
    geometry.isSecondTable = isSecondActive;
    ChooseTable(isSecondActive ? 1 : 0, &geometry);
    return geometry;
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

std::optional<FatGeometry> TakeFatGeometry(ByteView sector)
{
    auto geometry = HasTextAt(sector, 3, "EXFAT   ") ? TakeExfat(sector) : TakeFat(sector);
    if (!geometry || !HasRoot(*geometry) || geometry->clusters == 0 ||
        geometry->clusterBytes > kLargestCluster)
        return std::nullopt;
    const uint64_t end = std::min({geometry->clusters + FatGeometry::kFirstCluster,
                                   ClustersOfTable(*geometry), kMostClusters});
    if (end <= FatGeometry::kFirstCluster)
        return std::nullopt;
    geometry->lastCluster = static_cast<uint32_t>(end - 1);
    return geometry;
}

}  // namespace vx
