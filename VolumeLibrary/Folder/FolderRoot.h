// The folder that a folder volume shows: opens and describes what lies beneath it, and nothing
// else, whatever the folder's links say or another process changes meanwhile.
//
// Links: only the last component of a path may be one. Where it leads is worked out from its text
// and is only a hint: what is then opened is opened from the root again, through real folders only
// (OpenBeneath), so that a wrong or outdated hint can fail but not escape.
// Threads: unchanged once opened; every operation may run on several threads at a time.
// Paths: relative ones of VolumePath.
#pragma once

#include "EntryStat.h"
#include "Error.h"
#include "FolderPresence.h"
#include "UniqueFd.h"

#include <memory>
#include <optional>
#include <string>

namespace vx {

// Bytes of the file system that a folder lies on.
struct FolderSpace {
    uint64_t total = 0;
    uint64_t free = 0;
};

class FolderRoot {
public:
    // Errors: kSystemError without a detail.
    static Result<FolderRoot> Open(const char *path);

    // A folder for listing; none if it is not there, not a folder, a link, or not readable.
    UniqueFd OpenFolder(const std::string &relative) const;
    // A regular file for reading, or the one in this folder that a link leads to; else none.
    // Never blocks, whatever the path leads to.
    UniqueFd OpenFile(const std::string &relative) const;
    // Describes what lies there, a link itself; false, and errno says why, if it cannot.
    bool Stat(const std::string &relative, EntryStat *stat) const;
    // Describes what the link leads to; false if that is nothing, or not beneath this folder.
    bool StatLinkTarget(const std::string &link, EntryStat *target) const;
    // Where the link says that it leads; nothing if it cannot be read.
    std::optional<std::string> TextOfLink(const std::string &link) const;

    // Nothing if the system does not say.
    std::optional<FolderSpace> Space() const;

    const std::shared_ptr<FolderPresence> &Presence() const { return _presence; }

private:
    FolderRoot(UniqueFd folder, std::string path);
    std::optional<std::string> LinkTarget(const std::string &link) const;
    UniqueFd OpenLinkTarget(const std::string &link) const;
    UniqueFd Checked(UniqueFd opened) const;

    UniqueFd _folder;
    std::shared_ptr<FolderPresence> _presence;
    std::string _path;    // canonical
    std::string _prefix;  // of all canonical paths beneath it: ends with "/"
};

}  // namespace vx
