#include "FolderRecords.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vx {
namespace {

// The longest path of Windows file systems, in UTF-16 units (Microsoft Learn, "Maximum Path
// Length Limitation"). A folder beyond it exists only on a volume whose folders never end.
constexpr size_t kLongestPath = 32767;

FolderRecord RecordOf(const VolumeFindData &data)
{
    FolderRecord record;
    record.name.assign(std::begin(data.name),
                       std::find(std::begin(data.name), std::end(data.name), u'\0'));
    record.attributes = data.attributes;
    record.reparseTag = static_cast<uint32_t>(data.reserved);
    record.created = data.creationTime;
    record.accessed = data.lastAccessTime;
    record.modified = data.lastWriteTime;
    record.size = static_cast<int64_t>(uint64_t(data.sizeHigh) << 32 | data.sizeLow);
    return record;
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

std::optional<FolderRecords> ReadFolder(IVolume &volume, const VolumeReports &reports,
                                        const std::u16string &path)
{
    const std::u16string pattern = path + u"/*";
    if (pattern.size() > kLongestPath)
        return std::nullopt;
    VolumeFindData data;
    memset(static_cast<void *>(&data), 0, sizeof(data));
    VolumeHandle search = volume.FindFirstFile(pattern.c_str(), &data);
    if (search == nullptr)
        return std::nullopt;
    FolderRecords folder;
    if (!IsUntouched(data))
        folder.records.push_back(RecordOf(data));
    while (volume.FindNextFile(search, &data))
        folder.records.push_back(RecordOf(data));
    reports.DescribeListing(search, &folder.report);
    volume.FindClose(search);
    return folder;
}

}  // namespace vx
