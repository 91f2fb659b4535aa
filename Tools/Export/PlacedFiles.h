// The files that this run has put into the destination, so that none of them replaces another: two
// paths of a volume can lead to one file here, "a\b" and "a/b", or through links.
//
// A file is recognised by its identity, and if the file system does not keep identities, by its
// path. Memory: about 32 bytes for each file.
// Threads: any.
#pragma once

#include "DestinationTraits.h"
#include "LocalFile.h"
#include "Mutex.h"
#include "NumberTable.h"

#include <cstdint>
#include <string>

namespace vx {

class PlacedFiles {
public:
    using Number = uint32_t;
    static constexpr Number kNone = NumberTable::kNone;

    // expected: how many files there will probably be.
    PlacedFiles(const DestinationTraits &traits, size_t expected);

    // The file of this run that stands at a path relative to the destination, where something with
    // the given identity was found; kNone if that was there before.
    Number At(const std::string &path, const FileIdentity &found) const;

    // Before a file takes its place there, so that a thread that finds it there knows it. kNone if
    // it may; otherwise the number of the file that has come first to the same path.
    Number Place(const FileIdentity &file, const std::string &path, Number number);
    // It did not take its place after all.
    void Forget(const FileIdentity &file, const std::string &path);

private:
    uint64_t HashOf(const FileIdentity &file) const;
    uint64_t HashOf(const std::string &path) const;

    const DestinationTraits _traits;
    const uint64_t _seed;
    mutable Mutex _mutex;
    NumberTable _numbers VX_GUARDED_BY(_mutex);
};

}  // namespace vx
