#include "FolderRecords.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vx {
namespace {

// The longest path of Windows file systems, in UTF-16 units (Microsoft Learn, "Maximum Path
// Length Limitation"). A folder beyond it exists only on a volume whose folders never end.
constexpr size_t kLongestPath = 32767;

void TakeRecord(const VolumeFindData &data, FolderRecord *record)
{
    record->name.assign(std::begin(data.name),
                        std::find(std::begin(data.name), std::end(data.name), u'\0'));
    record->attributes = data.attributes;
    record->reparseTag = static_cast<uint32_t>(data.reserved);
    record->created = data.creationTime;
    record->accessed = data.lastAccessTime;
    record->modified = data.lastWriteTime;
    record->size = static_cast<int64_t>(uint64_t(data.sizeHigh) << 32 | data.sizeLow);
}

// An empty folder leaves the record as it was given, all zero.
bool IsUntouched(const VolumeFindData &data)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(&data);
    return std::all_of(bytes, bytes + sizeof(data), [](unsigned char byte) { return byte == 0; });
}

}  // namespace

bool FolderRecord::IsFolder() const
{
    return (attributes & kVolumeAttributeDirectory) != 0;
}

bool FolderRecord::IsLink() const
{
    return (attributes & kAttributeReparsePoint) != 0 &&
           (reparseTag == 0 || (reparseTag & kReparseTagNameSurrogate) != 0);
}

bool FolderRecord::IsSelfOrParent() const
{
    return name == u"." || name == u"..";
}

std::optional<VolumeListingReport> VisitFolder(IVolume &volume, const VolumeReports &reports,
                                               const std::u16string &path,
                                               const RecordVisitor &visit)
{
    const std::u16string pattern = path + u"/*";
    if (pattern.size() > kLongestPath)
        return std::nullopt;
    VolumeFindData data;
    memset(static_cast<void *>(&data), 0, sizeof(data));
    VolumeHandle search = volume.FindFirstFile(pattern.c_str(), &data);
    if (search == nullptr)
        return std::nullopt;
    FolderRecord record;
    if (!IsUntouched(data)) {
        TakeRecord(data, &record);
        visit(record);
    }
    while (volume.FindNextFile(search, &data)) {
        TakeRecord(data, &record);
        visit(record);
    }
    VolumeListingReport report;
    reports.DescribeListing(search, &report);
    volume.FindClose(search);
    return report;
}

std::optional<FolderRecords> ReadFolder(IVolume &volume, const VolumeReports &reports,
                                        const std::u16string &path)
{
    FolderRecords folder;
    const auto report = VisitFolder(volume, reports, path, [&folder](const FolderRecord &record) {
        folder.records.push_back(record);
    });
    if (!report)
        return std::nullopt;
    folder.report = *report;
    return folder;
}

}  // namespace vx
