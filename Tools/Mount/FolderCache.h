// The folders that were read last, so that finding a name in one does not read it again.
//
// Threads: any; two that want the same folder at the same time may both read it.
// Memory: kMostEntries, or one folder with more.
#pragma once

#include "Mutex.h"
#include "ShownFolder.h"

#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

namespace vx {

class FolderCache {
public:
    using Folder = std::shared_ptr<const ShownFolder>;
    static constexpr size_t kMostEntries = size_t{1} << 19;
    static constexpr size_t kMostFolders = 4096;

    // Null if it is not here. number: of the folder.
    Folder Find(uint64_t number);
    // Drops those used least recently to make room.
    void Keep(uint64_t number, const Folder &folder);

private:
    struct Kept {
        uint64_t number;
        Folder folder;
    };
    using List = std::list<Kept>;

    void Drop(List::iterator kept) VX_REQUIRES(_mutex);

    Mutex _mutex;
    List _list VX_GUARDED_BY(_mutex);  // the one used last comes first
    std::unordered_map<uint64_t, List::iterator> _places VX_GUARDED_BY(_mutex);
    size_t _entries VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
