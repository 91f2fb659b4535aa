// The nodes of names in the folders that were read last, so that opening a file by its path does
// not read the folders on the way again.
//
// Names are kept as 64-bit hashes, 32 bytes for each entry.
// Threads: any number at a time. Memory: kMostEntries; a larger folder is not kept at all, so
// that opening a file of it reads the folder again.
#pragma once

#include "FileSystem.h"
#include "Mutex.h"

#include <deque>
#include <list>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace vx {

// The entries of one folder; unchanging once it is sealed.
class FolderMap {
public:
    static constexpr size_t kMostEntries = size_t{1} << 20;

    // Once there are more than kMostEntries, it holds nothing.
    void Add(std::string_view name, const Node &node);
    // No more is added from now on. isComplete: false if the folder could not be read to its end.
    void Seal(bool isComplete = true);
    std::optional<Node> Find(std::string_view name) const;
    size_t Size() const { return _entries.size(); }
    bool IsWhole() const { return _isWhole; }
    // Whether a name that is not found is not in the folder.
    bool IsComplete() const { return _isComplete; }

private:
    struct Entry {
        uint64_t hash;
        Node node;
    };

    void SortByHash();

    // Not a vector, which needs half as much again while it grows.
    std::deque<Entry> _entries;
    bool _isWhole = true;
    bool _isComplete = false;
};

class FolderIndex {
public:
    static constexpr size_t kMostEntries = FolderMap::kMostEntries;
    static constexpr size_t kMostFolders = 4096;

    // folder: its place. Null if the folder is not known by this way.
    std::shared_ptr<const FolderMap> Find(uint64_t folder, const Way &way);
    // Forgets the folders used least recently to make room.
    void Keep(uint64_t folder, const Way &way, std::shared_ptr<const FolderMap> map);

private:
    struct Folder {
        uint64_t place;
        Way way;
        std::shared_ptr<const FolderMap> map;
    };
    using Folders = std::list<Folder>;

    void Forget(Folders::iterator folder) VX_REQUIRES(_mutex);

    Mutex _mutex;
    Folders _folders VX_GUARDED_BY(_mutex);  // the one used last comes first
    std::unordered_map<uint64_t, Folders::iterator> _places VX_GUARDED_BY(_mutex);
    size_t _entries VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
