#include "DiskSearch.h"

#include "CarefulSource.h"
#include "Container.h"
#include "DiskVolumes.h"
#include "MetadataLocator.h"
#include "VolumeChoice.h"
#include "VolumeSearch.h"

#include <algorithm>
#include <sys/stat.h>

namespace vx {
namespace {

using bitlocker::SearchedVolume;
using Source = std::shared_ptr<const ByteSource>;

bool IsFolder(const std::string &path)
{
    struct stat found;
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

// The volumes of the disk as an opening numbers them; none if the disk itself is a volume.
DiskVolumes NumberedVolumes(const Source &disk)
{
    const auto kind = ProbeFileSystem(*disk);
    const bool isVolume = kind && *kind != FileSystemKind::kUnknown;
    return isVolume ? DiskVolumes() : DiskVolumes::Read(disk);
}

bool BeginsAt(const Partition &partition, uint64_t offset)
{
    return partition.offset == offset;
}

// What opens a volume.
class Addresses {
public:
    Addresses(const Source &disk, const std::vector<SearchedVolume> &found)
        : _table(NumberedVolumes(disk)), _found(found)
    {
    }

    bool IsInTable(uint64_t offset) const
    {
        return HasPartition(_table.volumes, offset) || HasPartition(_table.others, offset);
    }

    std::string Of(const SearchedVolume &volume) const
    {
        for (size_t i = 0; i < _table.volumes.size(); ++i) {
            const DiskVolume &partition = _table.volumes[i];
            if (volume.hasBootSector && BeginsAt(partition, volume.offset) &&
                partition.kind == FileSystemKind::kEncrypted)
                return "#" + std::to_string(i + 1);
        }
        return "@" +
               std::to_string(IsFoundByBeginning(volume) ? volume.offset : volume.copies.front());
    }

private:
    static bool HasPartition(const std::vector<DiskVolume> &partitions, uint64_t offset)
    {
        return std::any_of(partitions.begin(), partitions.end(), [&](const DiskVolume &partition) {
            return BeginsAt(partition, offset);
        });
    }

    // Without its first sector an opening finds the first volume whose metadata is in its front.
    bool IsFoundByBeginning(const SearchedVolume &volume) const
    {
        const auto beginsThere = [&](const SearchedVolume &other) {
            return other.offset == volume.offset;
        };
        const bool isOnly = std::count_if(_found.begin(), _found.end(), beginsThere) == 1;
        const uint64_t distance = volume.copies.front() - volume.offset;
        return volume.hasBootSector || (isOnly && volume.copies.size() > 1 &&
                                        distance < bitlocker::MetadataLocator::kSearchLimit);
    }

    const DiskVolumes _table;
    const std::vector<SearchedVolume> &_found;
};

std::vector<DiskSearchFinding> FindingsOf(const Source &disk,
                                          const std::vector<SearchedVolume> &found)
{
    const Addresses addresses(disk, found);
    std::vector<DiskSearchFinding> findings;
    findings.reserve(found.size());
    for (const SearchedVolume &volume : found)
        findings.push_back({volume.offset, volume.bytes, volume.hasBootSector,
                            addresses.IsInTable(volume.offset), addresses.Of(volume),
                            bitlocker::MethodName(volume.method), volume.identifier.Capitals(),
                            WithoutControls(volume.description), volume.copies});
    return findings;
}

}  // namespace

Result<DiskSearchResult> SearchDisk(const std::string &device, const CancelFlag *cancel,
                                    const OpeningOptions &options)
{
    const std::string path = VolumeChoice::Parse(device).path;
    if (IsFolder(path))
        return Error{Status::kNotAVolume, "it is a folder; only disks and images are searched"};
    const auto container = OpenContainer(path, options.limits.retries);
    if (!container)
        return container.Failure();
    if (options.NamesPlaces() && container->form != nullptr)
        return Error{Status::kPlacesNotKept, "it is " + std::string(container->form)};
    const Source disk = std::make_shared<CarefulSource>(container->source, container->files,
                                                        LimitsFor(*container, options.limits));
    bitlocker::VolumeSearch search(*disk, cancel, options.progress);
    DiskSearchResult result;
    result.error = search.Run();
    result.findings = FindingsOf(disk, search.Volumes());
    result.gaps = {search.UnreadBytes(), search.UncheckedBlocks()};
    result.notes = container->notes;
    return result;
}

void ReportFindings(const DiskSearchResult &result, DiskFindingFunction finding, void *context)
{
    for (const DiskSearchFinding &found : result.findings) {
        const DiskFinding report = {found.offset,
                                    found.bytes,
                                    found.hasBootSector,
                                    found.isInTable,
                                    found.address.c_str(),
                                    found.method.c_str(),
                                    found.identifier.c_str(),
                                    found.description.c_str(),
                                    found.copies.data(),
                                    found.copies.size()};
        finding(context, &report);
    }
}

}  // namespace vx
