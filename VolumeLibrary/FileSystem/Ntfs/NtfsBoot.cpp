#include "NtfsBoot.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vx {
namespace {

constexpr size_t kBootBytes = 512;
constexpr uint32_t kLeastSector = 512;
constexpr uint32_t kLargestSector = 4096;
constexpr uint64_t kLargestCluster = uint64_t{2} << 20;
constexpr uint64_t kMostClusters = uint64_t{1} << 42;

Error Damaged(const char *what)
{
    return {Status::kDamagedFileSystem, what};
}

bool IsBoot(ByteView sector)
{
    return HasTextAt(sector, 3, "NTFS    ");
}

// A size in clusters or, if negative, in bytes as a power of two.
uint64_t SizeFrom(int8_t stored, uint32_t clusterBytes)
{
    if (stored > 0)
        return static_cast<uint64_t>(stored) * clusterBytes;
    return stored > -32 ? uint64_t{1} << -stored : 0;
}

// Large clusters are given as a negative power of two.
uint32_t ClusterSectors(uint8_t stored)
{
    constexpr uint8_t kMostSectors = 0x80;
    constexpr uint8_t kFirstPower = 0xF0;
    if (stored <= kMostSectors)
        return stored;
    return stored >= kFirstPower ? uint32_t{1} << (0x100 - stored) : 0;
}

bool IsSectorSize(uint32_t bytes)
{
    return IsPowerOfTwo(bytes) && bytes >= kLeastSector && bytes <= kLargestSector;
}

// What of a boot sector is used.
struct Fields {
    uint32_t sectorBytes = 0;
    uint8_t clusterSectors = 0;  // see ClusterSectors
    uint64_t sectors = 0;
    uint64_t mftCluster = 0;
    uint64_t mirrorCluster = 0;
    int8_t recordSize = 0;  // see SizeFrom
    uint64_t serial = 0;

    explicit Fields(ByteView sector)
    {
        ByteReader reader(sector, 11);
        sectorBytes = reader.U16();
        clusterSectors = reader.U8();
        reader.Skip(26);
        sectors = reader.U64();
        mftCluster = reader.U64();
        mirrorCluster = reader.U64();
        recordSize = static_cast<int8_t>(reader.U8());
        reader.Skip(7);  // the size of a block of an index among them
        serial = reader.U64();
    }
};

Result<NtfsGeometry> GeometryOf(const Fields &fields)
{
    const uint32_t clusterSectors = ClusterSectors(fields.clusterSectors);
    if (!IsSectorSize(fields.sectorBytes))
        return Damaged("its sector size is not valid");
    if (!IsPowerOfTwo(clusterSectors) ||
        uint64_t{clusterSectors} * fields.sectorBytes > kLargestCluster)
        return Damaged("its cluster size is not valid");
    NtfsGeometry geometry;
    geometry.clusterBytes = fields.sectorBytes * clusterSectors;
    geometry.clusters = fields.sectors / clusterSectors;
    const uint64_t recordBytes = SizeFrom(fields.recordSize, geometry.clusterBytes);
    if (!IsPowerOfTwo(recordBytes) || recordBytes < 512 || recordBytes > 16384)
        return Damaged("its record size is not valid");
    geometry.recordBytes = static_cast<uint32_t>(recordBytes);
    return geometry;
}

// A copy lies after the sectors that it counts; one of another volume on the same disk does not.
bool IsBackupAt(uint64_t place, ByteView sector)
{
    const Fields fields(sector);
    return IsBoot(sector) && IsSectorSize(fields.sectorBytes) && place > 0 &&
           place % fields.sectorBytes == 0 && fields.sectors == place / fields.sectorBytes;
}

// The last copy among the sectors from begin to end.
std::optional<uint64_t> FindBackupIn(const ByteSource &volume, uint64_t begin, uint64_t end)
{
    std::vector<uint8_t> bytes(static_cast<size_t>(end - begin));
    ByteRanges unread;
    (void)volume.Salvage(begin, bytes.data(), bytes.size(), &unread);
    for (size_t at = bytes.size(); at > 0; at -= kBootBytes) {
        const size_t sector = at - kBootBytes;
        if (IsBackupAt(begin + sector, ByteView(bytes).From(sector)))
            return begin + sector;
    }
    return std::nullopt;
}

}  // namespace

Result<NtfsBoot> ReadNtfsBoot(const ByteSource &volume, uint64_t offset)
{
    std::array<uint8_t, kBootBytes> sector;
    if (volume.ReadAt(offset, sector.data(), sector.size()))
        return Damaged("its first sector cannot be read");
    if (!IsBoot(sector))
        return Damaged("its first sector is not that of an NTFS volume");
    const Fields fields(sector);
    const auto geometry = GeometryOf(fields);
    if (!geometry)
        return geometry.Failure();
    if (geometry->clusters > kMostClusters || fields.mftCluster >= geometry->clusters)
        return Damaged("its table of files is not on the volume");
    NtfsBoot boot;
    boot.geometry = *geometry;
    boot.bytes = fields.sectors * fields.sectorBytes;
    boot.mftOffset = fields.mftCluster * geometry->clusterBytes;
    if (fields.mirrorCluster < geometry->clusters)
        boot.mirrorOffset = fields.mirrorCluster * geometry->clusterBytes;
    boot.serial = fields.serial;
    return boot;
}

std::optional<uint64_t> FindNtfsBackupBoot(const ByteSource &volume)
{
    constexpr uint64_t kPieceBytes = uint64_t{64} << 10;
    constexpr int kPieces = 8;
    uint64_t end = volume.Size() / kBootBytes * kBootBytes;
    const uint64_t last = std::min(end, uint64_t{kLargestSector});
    if (const auto found = FindBackupIn(volume, end - last, end))
        return found;
    for (int piece = 0; piece < kPieces && end > 0; ++piece) {
        const uint64_t begin = end - std::min(end, kPieceBytes);
        if (const auto found = FindBackupIn(volume, begin, end))
            return found;
        end = begin;
    }
    return std::nullopt;
}

Result<NtfsBoot> FindNtfsBoot(const ByteSource &volume)
{
    auto boot = ReadNtfsBoot(volume, 0);
    const auto backup = boot ? std::nullopt : FindNtfsBackupBoot(volume);
    return backup ? ReadNtfsBoot(volume, *backup) : boot;
}

uint64_t NtfsVolumeBytes(const ByteSource &volume)
{
    const auto boot = FindNtfsBoot(volume);
    return boot ? boot->bytes : 0;
}

}  // namespace vx
