// What a journal of an earlier run says about the files that it has put into place: found by path
// without keeping the records in memory.
//
// Memory: 16 bytes for each record. Ownership: borrows the file, which must not change before its
// end. Threads: one while it reads; then Find from any.
#pragma once

#include "ManifestRecord.h"

#include <vector>

namespace vx {

class EarlierRecords {
public:
    // Reads the file from offset on. end: where its last whole record ends. False: errno.
    bool Read(int file, int64_t offset, int64_t *end);

    // The last record of that path.
    bool Find(const std::string &path, ManifestRecord *record) const;

    // Where the last record of each other path begins, in the order of the file. paths: the hashes
    // of those to leave out, in ascending order.
    std::vector<int64_t> PlacesOfOthers(const std::vector<uint64_t> &paths) const;
    bool ReadAt(int64_t place, ManifestRecord *record) const;

    static uint64_t HashOf(const std::string &path);

    size_t Count() const { return _places.size(); }

private:
    struct Place {
        uint64_t hash;
        int64_t offset;
    };

    int _file = -1;
    std::vector<Place> _places;  // by hash, then by offset
};

}  // namespace vx
