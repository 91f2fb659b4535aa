#include "FolderListing.h"

#include "EntryRecord.h"
#include "FolderRoot.h"
#include "VolumePath.h"

#include <cerrno>

namespace vx {
namespace {

bool IsSelfOrParent(const char *name)
{
    return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

bool IsShown(mode_t mode)
{
    return S_ISREG(mode) || S_ISDIR(mode);
}

// All that is known of an entry in a folder that may be read but not searched.
EntryStat StatFromType(const dirent &entry)
{
    EntryStat stat;
    stat.mode = entry.d_type == DT_UNKNOWN ? S_IFREG : DTTOIF(entry.d_type);
    return stat;
}

}  // namespace

std::unique_ptr<FolderListing> FolderListing::Open(const FolderRoot &root,
                                                   const std::string &relative)
{
    UniqueFd descriptor = root.OpenFolder(relative);
    if (!descriptor)
        return nullptr;
    std::unique_ptr<DIR, CloseFolder> folder(fdopendir(descriptor.Get()));
    if (!folder)
        return nullptr;
    descriptor.Release();
    // The object copies the path first; only then may it take the folder over.
    std::unique_ptr<FolderListing> listing(new FolderListing(root, relative, folder.get()));
    (void)folder.release();
    return listing;
}

FolderListing::FolderListing(const FolderRoot &root, const std::string &relative, DIR *folder)
    : _root(root), _relative(relative), _folder(folder)
{
}

FolderListing::Step FolderListing::Next(VolumeFindData *record)
{
    errno = 0;
    while (const dirent *entry = readdir(_folder.get())) {
        if (!IsSelfOrParent(entry->d_name) && Describe(*entry, record))
            return Step::kEntry;
        errno = 0;
    }
    if (errno == 0)
        return Step::kEnd;
    Note(VolumeObstacle::kUnreadable);
    return Step::kError;
}

void FolderListing::Note(VolumeObstacle reason)
{
    _root.Presence()->Check();
    _report.isWhole = false;
    _report.reason = reason;
}

// False for an entry that is not shown, one that vanished meanwhile included.
bool FolderListing::Describe(const dirent &entry, VolumeFindData *record)
{
    EntryStat stat;
    if (!StatEntry(dirfd(_folder.get()), entry.d_name, &stat)) {
        if (errno == ENOENT)
            return false;
        Note(errno == EACCES ? VolumeObstacle::kNoPermission : VolumeObstacle::kUnreadable);
        stat = StatFromType(entry);
    }
    const EntryForm form = S_ISLNK(stat.mode) ? EntryForm::kLink : EntryForm::kItself;
    if (form == EntryForm::kLink)
        stat = DescribeLink(entry.d_name, stat);
    if (!IsShown(stat.mode))
        return false;
    FillRecord(entry.d_name, stat, form, record);
    return true;
}

EntryStat FolderListing::DescribeLink(const char *name, const EntryStat &link) const
{
    EntryStat target;
    if (_root.StatLinkTarget(JoinRelative(_relative, name), &target) && IsShown(target.mode))
        return target;
    target = link;
    target.mode = S_IFREG | (link.mode & ~static_cast<mode_t>(S_IFMT));
    target.size = 0;
    return target;
}

}  // namespace vx
