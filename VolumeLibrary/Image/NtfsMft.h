// The master file table of an NTFS volume, opened and read through libtsk.
//
// libtsk is only let at records that were looked at before, and the table of access rights,
// which nobody here reads, is kept from it, since it would load all of it.
// Ownership: shares the source. Threads: any number at a time; libtsk reads one record at a
// time, which is what the lock is held for.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "NtfsRecord.h"
#include "NtfsRuns.h"
#include "OpenError.h"
#include "ThreadSafety.h"
#include "TskImage.h"

struct TSK_FS_INFO;

namespace vx {

class NtfsMft {
public:
    // mft receives the table when there is no error. Errors: kFileSystemDamaged,
    // kFileSystemNotSupported.
    static OpenError Open(std::shared_ptr<const bitlocker::ByteSource> source,
                          std::unique_ptr<NtfsMft> *mft);

    const NtfsGeometry &Geometry() const { return _geometry; }
    // Nothing if the record is damaged, unused, or another one now has its number.
    std::optional<NtfsRecord> Load(NtfsReference reference) const;

private:
    struct Close {
        void operator()(TSK_FS_INFO *fileSystem) const;
    };

    NtfsMft(std::shared_ptr<const bitlocker::ByteSource> source, const NtfsGeometry &geometry);

    const NtfsGeometry _geometry;
    TskImage _image;
    mutable Mutex _mutex;
    std::unique_ptr<TSK_FS_INFO, Close> _fileSystem VX_PT_GUARDED_BY(_mutex);
};

}  // namespace vx
