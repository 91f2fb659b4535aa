// The master file table of an NTFS volume: its records by their numbers.
//
// Ownership: shares the source. Threads: any number at a time; unchanging but for what
// CachedSource keeps.
#pragma once

#include "CachedSource.h"
#include "NtfsBoot.h"
#include "NtfsRecord.h"
#include "VolumeReport.h"

#include <string>

namespace vx {

class NtfsMft {
public:
    // Errors: kDamagedFileSystem. A table of which only parts can be found opens; the records of
    // the rest do not load. notes receives a line for each copy that was used instead of what is
    // damaged: that of the boot sector, and that of the table's first record.
    static Result<std::unique_ptr<NtfsMft>> Open(const std::shared_ptr<const ByteSource> &source,
                                                 std::vector<std::string> *notes);

    const NtfsGeometry &Geometry() const { return _geometry; }
    // Where the records lie, one after the other.
    const FileExtents &Table() const { return _table; }
    // Nothing if the record is damaged, unused, or another one now has its number; trouble then
    // receives kUnreadable or kDamaged.
    std::optional<NtfsRecord> Load(NtfsReference reference,
                                   VolumeObstacle *trouble = nullptr) const;

private:
    NtfsMft(std::shared_ptr<const ByteSource> source, const NtfsGeometry &geometry);

    static Result<std::unique_ptr<NtfsMft>> OpenBy(uint64_t bootOffset,
                                                   const std::shared_ptr<const ByteSource> &source,
                                                   std::vector<std::string> *notes);
    std::optional<NtfsRecord> Read(const FileExtents &table, uint64_t position,
                                   VolumeObstacle *trouble) const;
    bool FindTable(const NtfsBoot &boot, uint64_t firstRecordAt);

    const CachedSource _source;
    const NtfsGeometry _geometry;
    FileExtents _table;  // unchanging once it was found
};

}  // namespace vx
