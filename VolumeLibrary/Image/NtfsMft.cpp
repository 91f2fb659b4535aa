#include "NtfsMft.h"

#include "Little.h"
#include "MaskedSource.h"
#include "NtfsFixups.h"
#include "TskError.h"

#include <tsk/libtsk.h>
// Needs the one above.
#include <tsk/fs/tsk_ntfs.h>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

constexpr uint64_t kMftNumber = 0;
constexpr uint64_t kVolumeNumber = 3;
constexpr uint64_t kBitmapNumber = 6;
constexpr uint64_t kSecureNumber = 9;
constexpr uint64_t kLargestAttributeList = uint64_t{256} << 10;

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
    const uint32_t clusterSectors = sector[13];
    if (!IsPowerOfTwo(sectorBytes) || sectorBytes < 512 || sectorBytes > 4096)
        return Damaged("it tells no size of a sector");
    if (!IsPowerOfTwo(clusterSectors))
        return {VolumeLibraryStatus::kFileSystemNotSupported, "its clusters are too large"};
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

// What libtsk would not stand: a list of attributes that it would copy whole.
bool IsFitForTsk(const bitlocker::ByteSource &source, const BootFacts &facts, uint64_t number)
{
    std::vector<uint8_t> bytes(facts.geometry.recordBytes);
    const uint64_t offset = facts.mftOffset + number * bytes.size();
    if (source.readAt(offset, bytes.data(), bytes.size()) || !ApplyNtfsFixups(&bytes))
        return false;
    const auto record = NtfsRecord::Parse(std::move(bytes));
    if (!record)
        return false;
    const auto list = record->Find(NtfsType::kAttributeList, {});
    return !list || list->size <= kLargestAttributeList;
}

}  // namespace

void NtfsMft::Close::operator()(TSK_FS_INFO *fileSystem) const
{
    tsk_fs_close(fileSystem);
}

NtfsMft::NtfsMft(Source source, const NtfsGeometry &geometry)
    : _geometry(geometry), _image(std::move(source))
{
}

OpenError NtfsMft::Open(Source source, std::unique_ptr<NtfsMft> *mft)
{
    BootFacts facts;
    if (OpenError error = ReadBoot(*source, &facts))
        return error;
    for (const uint64_t number : {kMftNumber, kVolumeNumber, kBitmapNumber}) {
        if (!IsFitForTsk(*source, facts, number))
            return Damaged("a record at the front of its table of files is damaged");
    }
    const uint64_t recordBytes = facts.geometry.recordBytes;
    source = std::make_shared<MaskedSource>(
        std::move(source), facts.mftOffset + kSecureNumber * recordBytes, recordBytes);
    std::unique_ptr<NtfsMft> opened(new NtfsMft(std::move(source), facts.geometry));
    opened->_fileSystem.reset(tsk_fs_open_img(opened->_image.Get(), 0, TSK_FS_TYPE_NTFS));
    if (!opened->_fileSystem)
        return {VolumeLibraryStatus::kFileSystemDamaged, TakeTskError()};
    *mft = std::move(opened);
    return {};
}

std::optional<NtfsRecord> NtfsMft::Load(NtfsReference reference) const
{
    std::vector<uint8_t> bytes(_geometry.recordBytes);
    {
        const MutexLock lock(_mutex);
        auto *ntfs = reinterpret_cast<NTFS_INFO *>(_fileSystem.get());
        if (ntfs_dinode_lookup(ntfs, reinterpret_cast<char *>(bytes.data()),
                               NtfsNumber(reference)) != TSK_OK)
            return std::nullopt;
    }
    auto record = NtfsRecord::Parse(std::move(bytes));
    const bool same =
        record && (NtfsSequence(reference) == 0 || record->Sequence() == NtfsSequence(reference));
    return same ? std::move(record) : std::nullopt;
}

}  // namespace vx
