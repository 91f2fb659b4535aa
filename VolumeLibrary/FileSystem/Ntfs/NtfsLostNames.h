// The names that the index of a damaged folder no longer gives: those of files whose own records
// say that they lie in it.
//
// Ownership: borrows the table and the volume. Threads: one at a time. Time: one record is read for
// each file of the folder.
#pragma once

#include "NtfsParents.h"
#include "NtfsStream.h"
#include "SortedRuns.h"

namespace vx {

class NtfsLostNames {
public:
    // folder: its sequence is 0 if it is not known. listed: HashOf of the names that are known.
    NtfsLostNames(const NtfsMft &mft, const ByteSource &volume, const NtfsParents &parents,
                  NtfsReference folder, const std::vector<uint64_t> &listed);

    static uint64_t HashOf(NtfsReference file, const std::string &name);

    // False when there are no more.
    bool Next(NtfsReference *file, NtfsIndexName *name);

private:
    void LoadNames(uint32_t number);
    bool IsOfFolder(const NtfsIndexName &name) const;

    const NtfsMft &_mft;
    const ByteSource &_volume;
    const NtfsReference _folder;
    SortedRuns<uint64_t> _listed;
    std::vector<uint32_t> _files;
    size_t _next = 0;  // of the files
    NtfsReference _file = 0;
    std::vector<NtfsIndexName> _names;  // of that file, the next one at the end
};

}  // namespace vx
