#include "RoomCheck.h"

#include "EntryObstacle.h"
#include "NumberText.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace vx {

using Number = ExportPlan::Number;

namespace {

// st_blocks counts in these, whatever the file system's own blocks are.
constexpr int64_t kStatBlock = 512;

}  // namespace

bool RoomCheck::HasRoom(const std::string &shownFolder, std::string *error) const
{
    AssertMainThread();
    DiskSpace space;
    if (!LookAtSpace(_tree.Root(), &space) || RoughNeed(space) <= space.freeBytes)
        return true;
    const uint64_t need = ExactNeed(space);
    if (need <= space.freeBytes)
        return true;
    *error = "not enough room on the disk of " + TerminalText(shownFolder) + ": the export needs " +
             ExactSizeText(static_cast<int64_t>(need)) + ", and " +
             ExactSizeText(static_cast<int64_t>(space.freeBytes)) + " are free";
    return false;
}

// As if nothing were replaced, and all could be read.
uint64_t RoomCheck::RoughNeed(const DiskSpace &space) const
{
    RoomCount room(space.blockSize);
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = _plan.Next(file)) {
        if (!_plan.At(file).IsFolder())
            room.Add(_plan.At(file).size, 0);
    }
    return room.Peak();
}

uint64_t RoomCheck::ExactNeed(const DiskSpace &space) const
{
    RoomCount room(space.blockSize);
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = _plan.Next(file)) {
        if (!_plan.At(file).IsFolder() && IsExported(file))
            room.Add(_plan.At(file).size, GivenBackFor(file));
    }
    return room.Peak();
}

bool RoomCheck::IsExported(Number file) const
{
    return _plan.At(file).size <= _names.Traits().largestFile &&
           HasCopy(ObstacleOf(_plan.At(file), _plan.PathOf(file), _reports));
}

// Space freed when the entry replaces an existing file.
int64_t RoomCheck::GivenBackFor(Number file) const
{
    bool isChanged = false;
    const std::string path = _names.PathOf(file, &isChanged);
    struct stat found;
    const bool isReplaced = !path.empty() &&
                            fstatat(_tree.Root(), path.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                            S_ISREG(found.st_mode) && found.st_nlink == 1;
    return isReplaced ? found.st_blocks * kStatBlock : 0;
}

}  // namespace vx
