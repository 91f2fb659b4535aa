// What a folder holds at one moment, links not followed: kinds, contents, and which file it is.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>

namespace vx {

struct SnapshotEntry {
    mode_t kind = 0;  // S_IFREG and its like
    ino_t inode = 0;
    std::string bytes;  // of a file; the text of a link

    bool operator==(const SnapshotEntry &other) const
    {
        return kind == other.kind && inode == other.inode && bytes == other.bytes;
    }
};

class FolderSnapshot {
public:
    FolderSnapshot() = default;
    explicit FolderSnapshot(const std::string &folder);

    // By path below the folder, "/" in front.
    const std::map<std::string, SnapshotEntry> &Entries() const { return _entries; }
    std::map<std::string, SnapshotEntry> &Entries() { return _entries; }
    // Null if there is nothing at the path.
    const SnapshotEntry *At(const std::string &path) const;

private:
    void Take(const std::string &folder, const std::string &below);

    std::map<std::string, SnapshotEntry> _entries;
};

}  // namespace vx
