#import "RoomCheck.h"

#import "EntryText.h"
#include "NumberText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace vx {
namespace {

// st_blocks counts in these, whatever the file system's own blocks are.
constexpr int64_t kStatBlock = 512;

}  // namespace

bool RoomCheck::HasRoomFor(NSArray *files, const std::string &shownFolder, std::string *error)
{
    AssertMainThread();
    DiskSpace space;
    if (!LookAtSpace(_tree.Root(), &space) || RoughNeed(files, space) <= space.freeBytes)
        return true;
    const uint64_t need = ExactNeed(files, space);
    if (need <= space.freeBytes)
        return true;
    *error = "not enough room on the disk of " + TerminalText(shownFolder) + ": the export needs " +
             ExactSizeText(static_cast<int64_t>(need)) + ", and " +
             ExactSizeText(static_cast<int64_t>(space.freeBytes)) +
             " are free; nothing was exported. With --no-space-check, what fits is exported";
    return false;
}

// As if nothing were replaced, and all could be read.
uint64_t RoomCheck::RoughNeed(NSArray *files, const DiskSpace &space) const
{
    RoomCount room(space.blockSize);
    for (Z5FindData *entry in files)
        room.Add([entry nFileSize], 0);
    return room.Peak();
}

uint64_t RoomCheck::ExactNeed(NSArray *files, const DiskSpace &space)
{
    RoomCount room(space.blockSize);
    for (Z5FindData *entry in files) {
        @autoreleasepool {
            if (IsExported(entry))
                room.Add([entry nFileSize], GivenBackFor(entry));
        }
    }
    return room.Peak();
}

bool RoomCheck::IsExported(Z5FindData *entry) const
{
    switch (_session.Volume().ObstacleOf(VolumePathOf(entry))) {
    case VolumeObstacle::kNone:
    case VolumeObstacle::kDamaged:
    case VolumeObstacle::kUnreadable:
        return true;
    default:
        return false;
    }
}

// Space freed when the entry replaces an existing file.
int64_t RoomCheck::GivenBackFor(Z5FindData *entry)
{
    bool isChanged = false;
    const std::string path = _names.PathOf(entry, &isChanged);
    struct stat found;
    const bool isReplaced = !path.empty() &&
                            fstatat(_tree.Root(), path.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                            S_ISREG(found.st_mode) && found.st_nlink == 1;
    return isReplaced ? found.st_blocks * kStatBlock : 0;
}

}  // namespace vx
