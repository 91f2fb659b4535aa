// The hashes of the files that have arrived, by their numbers in the plan.
//
// Memory: 48 bytes for each file; more only for one that has another path than the plan's.
// Threads: Add from any; the rest by one, once no more is added.
#pragma once

#include "Mutex.h"
#include "Sha256Stream.h"

#include <deque>
#include <map>
#include <set>
#include <string>

namespace vx {

class ArrivedFiles {
public:
    struct File {
        Sha256Digest digest = {};
        int64_t size = 0;     // in bytes, as they have arrived
        uint32_t number = 0;  // in the plan
        bool isDamaged = false;
    };

    // A file is added once. path: of the copy, relative to the destination, if it has another one
    // than it was to have.
    void Add(const File &file, const std::string &path = "");

    // Takes back one that was added.
    void Forget(uint32_t number);

    // Into the order of the plan, without what was taken back.
    void Sort();
    const std::deque<File> &Files() const VX_NO_THREAD_SAFETY_ANALYSIS { return _files; }
    // Null if it has not arrived; after Sort.
    const File *Find(uint32_t number) const VX_NO_THREAD_SAFETY_ANALYSIS;
    // Empty if it has the path that it was to have.
    std::string OtherPathOf(uint32_t number) const;

private:
    mutable Mutex _mutex;
    std::deque<File> _files VX_GUARDED_BY(_mutex);
    std::map<uint32_t, std::string> _paths VX_GUARDED_BY(_mutex);
    std::set<uint32_t> _forgotten VX_GUARDED_BY(_mutex);
};

}  // namespace vx
