#include "NtfsBoot.h"

#include "Little.h"

#include <algorithm>
#include <cstring>
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

bool IsBoot(const uint8_t *sector)
{
    return std::memcmp(sector + 3, "NTFS    ", 8) == 0;
}

// A size in clusters, or, if negative, as the power of two of its bytes.
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

Error ReadGeometry(const uint8_t *sector, NtfsGeometry *geometry)
{
    const uint32_t sectorBytes = Little16(sector + 11);
    const uint32_t clusterSectors = ClusterSectors(sector[13]);
    if (!IsSectorSize(sectorBytes))
        return Damaged("it tells no size of a sector");
    if (!IsPowerOfTwo(clusterSectors) || uint64_t{clusterSectors} * sectorBytes > kLargestCluster)
        return Damaged("it tells no size of a cluster");
    geometry->clusterBytes = sectorBytes * clusterSectors;
    geometry->clusters = Little64(sector + 40) / clusterSectors;
    const uint64_t recordBytes = SizeFrom(static_cast<int8_t>(sector[64]), geometry->clusterBytes);
    if (!IsPowerOfTwo(recordBytes) || recordBytes < 512 || recordBytes > 16384)
        return Damaged("it tells no size of a record");
    geometry->recordBytes = static_cast<uint32_t>(recordBytes);
    return {};
}

// A copy lies after the sectors that it counts, so that one of another volume on the same disk is
// not taken for it.
bool IsBackupAt(uint64_t place, const uint8_t *sector)
{
    const uint32_t sectorBytes = Little16(sector + 11);
    return IsBoot(sector) && IsSectorSize(sectorBytes) && place > 0 && place % sectorBytes == 0 &&
           Little64(sector + 40) == place / sectorBytes;
}

// The last copy among the sectors from begin to end.
std::optional<uint64_t> FindBackupIn(const ByteSource &volume, uint64_t begin, uint64_t end)
{
    std::vector<uint8_t> bytes(static_cast<size_t>(end - begin));
    if (volume.ReadAt(begin, bytes.data(), bytes.size()))
        return std::nullopt;
    for (size_t at = bytes.size(); at > 0; at -= kBootBytes) {
        const size_t sector = at - kBootBytes;
        if (IsBackupAt(begin + sector, bytes.data() + sector))
            return begin + sector;
    }
    return std::nullopt;
}

}  // namespace

Error ReadNtfsBoot(const ByteSource &volume, uint64_t offset, NtfsBoot *boot)
{
    uint8_t sector[kBootBytes];
    if (volume.ReadAt(offset, sector, sizeof sector))
        return Damaged("its first sector cannot be read");
    if (!IsBoot(sector))
        return Damaged("its first sector is not that of an NTFS volume");
    if (Error error = ReadGeometry(sector, &boot->geometry))
        return error;
    const NtfsGeometry &geometry = boot->geometry;
    const uint64_t mftCluster = Little64(sector + 48);
    const uint64_t mirrorCluster = Little64(sector + 56);
    if (geometry.clusters > kMostClusters || mftCluster >= geometry.clusters)
        return Damaged("its table of files is not on the volume");
    boot->bytes = Little64(sector + 40) * Little16(sector + 11);
    boot->mftOffset = mftCluster * geometry.clusterBytes;
    boot->mirrorOffset =
        mirrorCluster < geometry.clusters ? mirrorCluster * geometry.clusterBytes : 0;
    return {};
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

uint64_t NtfsVolumeBytes(const ByteSource &volume)
{
    NtfsBoot boot;
    if (!ReadNtfsBoot(volume, 0, &boot))
        return boot.bytes;
    const auto backup = FindNtfsBackupBoot(volume);
    return backup && !ReadNtfsBoot(volume, *backup, &boot) ? boot.bytes : 0;
}

}  // namespace vx
