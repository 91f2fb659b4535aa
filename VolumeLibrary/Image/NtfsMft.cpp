#include "NtfsMft.h"

#include "Little.h"
#include "NtfsFixups.h"
#include "NtfsStream.h"

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

constexpr uint64_t kLargestCluster = uint64_t{2} << 20;

OpenError Damaged(const char *what)
{
    return {VolumeLibraryStatus::kFileSystemDamaged, what};
}

// A size that is told in clusters, or, if negative, as the power of two of its bytes.
uint64_t SizeFrom(int8_t told, uint32_t clusterBytes)
{
    if (told > 0)
        return static_cast<uint64_t>(told) * clusterBytes;
    return told > -32 ? uint64_t{1} << -told : 0;
}

// Large clusters are told as a negative power of two.
uint32_t ClusterSectors(uint8_t told)
{
    constexpr uint8_t kMostSectors = 0x80;
    constexpr uint8_t kFirstPower = 0xF0;
    if (told <= kMostSectors)
        return told;
    return told >= kFirstPower ? uint32_t{1} << (0x100 - told) : 0;
}

struct BootFacts {
    NtfsGeometry geometry;
    uint64_t mftOffset = 0;
};

OpenError ReadBoot(const bitlocker::ByteSource &source, BootFacts *facts)
{
    uint8_t sector[512];
    if (source.readAt(0, sector, sizeof sector))
        return Damaged("its first sector cannot be read");
    const uint32_t sectorBytes = Little16(sector + 11);
    const uint32_t clusterSectors = ClusterSectors(sector[13]);
    if (!IsPowerOfTwo(sectorBytes) || sectorBytes < 512 || sectorBytes > 4096)
        return Damaged("it tells no size of a sector");
    if (!IsPowerOfTwo(clusterSectors) || uint64_t{clusterSectors} * sectorBytes > kLargestCluster)
        return Damaged("it tells no size of a cluster");
    NtfsGeometry &geometry = facts->geometry;
    geometry.clusterBytes = sectorBytes * clusterSectors;
    geometry.clusters = Little64(sector + 40) / clusterSectors;
    const uint64_t recordBytes = SizeFrom(static_cast<int8_t>(sector[64]), geometry.clusterBytes);
    if (!IsPowerOfTwo(recordBytes) || recordBytes < 512 || recordBytes > 16384)
        return Damaged("it tells no size of a record");
    geometry.recordBytes = static_cast<uint32_t>(recordBytes);
    const uint64_t mftCluster = Little64(sector + 48);
    constexpr uint64_t kMostClusters = uint64_t{1} << 42;
    if (geometry.clusters > kMostClusters || mftCluster >= geometry.clusters)
        return Damaged("its table of files is not on the volume");
    facts->mftOffset = mftCluster * geometry.clusterBytes;
    return {};
}

uint64_t CoveredBytes(const FileExtents &extents)
{
    uint64_t bytes = 0;
    for (const Extent &run : extents.runs)
        bytes += run.length;
    return bytes;
}

}  // namespace

NtfsMft::NtfsMft(Source source, const NtfsGeometry &geometry)
    : _source(std::move(source)), _geometry(geometry)
{
}

OpenError NtfsMft::Open(Source source, std::unique_ptr<NtfsMft> *mft)
{
    BootFacts facts;
    if (OpenError error = ReadBoot(*source, &facts))
        return error;
    std::unique_ptr<NtfsMft> opened(new NtfsMft(std::move(source), facts.geometry));
    if (!opened->FindTable(facts.mftOffset))
        return Damaged("the first record of its table of files is damaged");
    *mft = std::move(opened);
    return {};
}

// The first record is that of the table itself. Of a table in many pieces it names further
// records, which lie in the pieces that are known already, so the table is looked for again as
// long as there is more of it.
bool NtfsMft::FindTable(uint64_t offset)
{
    constexpr int kMostRounds = 16;
    const uint64_t recordBytes = _geometry.recordBytes;
    const FileExtents front = {
        recordBytes, recordBytes, {{0, recordBytes, offset, Extent::Kind::kStored}}};
    const auto first = Read(front, 0, nullptr);
    if (!first)
        return false;
    for (int round = 0; round < kMostRounds; ++round) {
        NtfsStream data;
        FindStream(*this, _source, *first, 0, NtfsType::kData, {}, &data);
        const bool isLonger = CoveredBytes(data.extents) > CoveredBytes(_table);
        if (data.extents.runs.size() > kMostRunsOfTables)
            return false;
        if (isLonger)
            _table = std::move(data.extents);
        if (data.trouble == VolumeObstacle::kNone || !isLonger)
            break;
    }
    return !_table.runs.empty();
}

std::optional<NtfsRecord> NtfsMft::Read(const FileExtents &table, uint64_t position,
                                        VolumeObstacle *trouble) const
{
    std::vector<uint8_t> bytes(_geometry.recordBytes);
    uint32_t done = 0;
    const bool isRead =
        ReadExtents(_source, table, position, reinterpret_cast<char *>(bytes.data()),
                    _geometry.recordBytes, &done);
    if (!isRead && trouble != nullptr)
        *trouble = VolumeObstacle::kUnreadable;
    if (!isRead || !ApplyNtfsFixups(&bytes))
        return std::nullopt;
    return NtfsRecord::Parse(std::move(bytes));
}

std::optional<NtfsRecord> NtfsMft::Load(NtfsReference reference, VolumeObstacle *trouble) const
{
    if (trouble != nullptr)
        *trouble = VolumeObstacle::kDamaged;
    const uint64_t number = NtfsNumber(reference);
    if (number >= _table.size / _geometry.recordBytes)
        return std::nullopt;
    auto record = Read(_table, number * _geometry.recordBytes, trouble);
    const bool same =
        record && (NtfsSequence(reference) == 0 || record->Sequence() == NtfsSequence(reference));
    return same ? std::move(record) : std::nullopt;
}

}  // namespace vx
