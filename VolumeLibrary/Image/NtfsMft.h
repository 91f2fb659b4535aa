// The master file table of an NTFS volume: its records by their numbers.
//
// Ownership: shares the source. Threads: any number at a time; unchanging but for what
// CachedSource keeps.
#pragma once

#include "CachedSource.h"
#include "NtfsRecord.h"
#include "NtfsRuns.h"
#include "OpenError.h"
#include "VolumeReport.h"

namespace vx {

class NtfsMft {
public:
    // mft receives the table when there is no error. Errors: kFileSystemDamaged,
    // kFileSystemNotSupported. A table of which only parts can be found opens; the records
    // of the rest do not load.
    static OpenError Open(std::shared_ptr<const bitlocker::ByteSource> source,
                          std::unique_ptr<NtfsMft> *mft);

    const NtfsGeometry &Geometry() const { return _geometry; }
    // Nothing if the record is damaged, unused, or another one now has its number; trouble then
    // receives kUnreadable or kDamaged.
    std::optional<NtfsRecord> Load(NtfsReference reference,
                                   VolumeObstacle *trouble = nullptr) const;

private:
    NtfsMft(std::shared_ptr<const bitlocker::ByteSource> source, const NtfsGeometry &geometry);

    std::optional<NtfsRecord> Read(const FileExtents &table, uint64_t position,
                                   VolumeObstacle *trouble) const;
    bool FindTable(uint64_t offset);

    const CachedSource _source;
    const NtfsGeometry _geometry;
    FileExtents _table;  // unchanging once it was found
};

}  // namespace vx
