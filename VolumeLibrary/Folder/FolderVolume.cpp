#include "FolderVolume.h"

#include "FolderFile.h"
#include "FolderListing.h"
#include "NameMapping.h"
#include "TextField.h"

#include <cerrno>
#include <iterator>

namespace vx {
namespace {

VolumeObstacle ObstacleFromErrno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        return VolumeObstacle::kNotThere;
    case EACCES:
    case EPERM:
        return VolumeObstacle::kNoPermission;
    case ENOMEM:
        return VolumeObstacle::kOutOfMemory;
    default:
        return VolumeObstacle::kUnreadable;
    }
}

// What opening it says; errno is of that.
VolumeObstacle ObstacleOf(const UniqueFd &opened)
{
    return opened ? VolumeObstacle::kNone : ObstacleFromErrno(errno);
}

}  // namespace

Result<std::unique_ptr<OwnedVolume>> FolderVolume::Open(const char *path)
{
    auto root = FolderRoot::Open(path);
    if (!root)
        return root.Failure();
    return std::unique_ptr<OwnedVolume>(std::make_unique<FolderVolume>(std::move(*root)));
}

std::unique_ptr<VolumeListing> FolderVolume::OpenListing(const VolumePath &folder)
{
    return FolderListing::Open(_root, folder.Relative());
}

std::unique_ptr<VolumeFile> FolderVolume::OpenVolumeFile(const VolumePath &file)
{
    UniqueFd opened = _root.OpenFile(file.Relative());
    return opened ? std::make_unique<FolderFile>(std::move(opened), _root.Presence()) : nullptr;
}

VolumeEntryReport FolderVolume::Describe(const VolumePath &entry)
{
    VolumeEntryReport report;
    EntryStat stat;
    const std::string &path = entry.Relative();
    if (!_root.Stat(path, &stat))
        report.obstacle = ObstacleFromErrno(errno);
    else if (S_ISLNK(stat.mode))
        DescribeLink(path, &report);
    else if (S_ISDIR(stat.mode))
        report.obstacle = ObstacleOf(_root.OpenFolder(path));
    else if (S_ISREG(stat.mode))
        report.obstacle = ObstacleOf(_root.OpenFile(path));
    else
        report.obstacle = VolumeObstacle::kNotThere;  // it is not shown
    return report;
}

bool FolderVolume::DescribeWhole(VolumeFileSystemReport *report)
{
    PutText("folder", report->name);
    if (const auto space = _root.Space()) {
        report->totalBytes = space->total;
        report->freeBytes = space->free;
    }
    return true;
}

// A link to a file of this folder is read as that file.
void FolderVolume::DescribeLink(const std::string &link, VolumeEntryReport *report) const
{
    report->reparseTag = kReparseTagSymlink;
    if (const auto text = _root.TextOfLink(link))
        NameToUtf16(text->c_str(), report->target, std::size(report->target));
    EntryStat target;
    if (_root.StatLinkTarget(link, &target) && S_ISREG(target.mode))
        report->obstacle = ObstacleOf(_root.OpenFile(link));
    else
        report->obstacle = VolumeObstacle::kLink;
}

}  // namespace vx
