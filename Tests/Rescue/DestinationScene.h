// Where a volume is exported to: a folder with what is in the way there, and a folder beside it
// with what must stay as it is.
//
// Everything lies in a temporary folder and goes with the object, mounts included.
// Errors: what cannot be made throws std::system_error.
#pragma once

#include "FaultPlan.h"
#include "FolderSnapshot.h"
#include "RescueVolume.h"
#include "TemporaryFolder.h"

#include <string>
#include <vector>

namespace vx {

enum class DestinationCondition {
    kEmpty,
    kOldFiles,       // of other contents, where files go, and others between them
    kLinksOut,       // to files elsewhere
    kHardLinks,      // of files elsewhere
    kDanglingLinks,  // to nothing
    kFifo,
    kSocket,
    kFolderInTheWay,  // where a file goes
    kFileForAFolder,
    kFull,  // from the start
    kFullLater,
    kFullOverOldFiles,
    kQuota,
    kWriteErrors,  // from some byte on
    kOneWriteError,
    kReadOnly,
    kShortNames,
    kIgnoresCase,     // a file system that does, where it can be mounted
    kSmallDisk,       // a real one, where it can be mounted
    kSizeLimit,       // of each file that the process writes
    kDiskHardLinked,  // the disk itself, at a file's place
    kDiskLinked,
    kVolumeItself,  // the folder that is exported
};

const std::vector<DestinationCondition> &AllConditions();
std::string NameOf(DestinationCondition condition);

class DestinationScene {
public:
    DestinationScene(DestinationCondition condition, const RescueVolume &volume);
    ~DestinationScene();
    DestinationScene(const DestinationScene &) = delete;
    DestinationScene &operator=(const DestinationScene &) = delete;

    // Makes everything and adds the faults; false if this machine cannot do that.
    bool Prepare(FaultPlan *plan);

    // The volume, at its own place or as a copy that the condition puts into danger.
    const RescueVolume &Volume() const { return _volume; }
    const std::string &Destination() const { return _destination; }
    std::string At(const std::string &name) const { return _folder.At(name); }
    // Everything that an export has no business to change.
    FolderSnapshot Bystanders() const;

    // Whether it does not take everything.
    bool Fails() const;
    bool IsFull() const;
    bool LosesWrites() const { return _condition == DestinationCondition::kOneWriteError; }
    bool IgnoresCase() const { return _condition == DestinationCondition::kIgnoresCase; }
    // Bytes, 0 for none.
    unsigned long long SizeLimit() const;

private:
    void MakeOldFiles();
    void MakeInTheWay();
    void MakeLinks();
    void AddFaults(FaultPlan *plan) const;
    bool Mount();
    bool MountIgnoringCase() const;
    void CopyVolume();
    void LinkDisk(bool hard);
    // The paths of the volume at whose places something is.
    std::vector<std::string> Targets() const;
    std::string Landing(const std::string &path) const { return "destination" + path; }

    const DestinationCondition _condition;
    RescueVolume _volume;
    const TemporaryFolder _folder;
    std::string _destination;
    bool _isMounted = false;
};

}  // namespace vx
