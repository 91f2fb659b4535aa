// The L1 and L2 tables of a QCOW2 image say where each piece of the disk lies.
//
// Every entry is checked before it is used: its reserved bits, that it lies in the file, on a
// cluster, and not on a table of the image itself (QcowOwnPlaces.h) or a cluster that belongs to
// another entry (QcowContested.h). Tables are read through a cache and never kept whole.
//
// Ownership: shares the file. Threads: any number at a time. Memory: 384 KiB, and those of
// QcowOwnPlaces and QcowContested. Units: bytes. Errors: kSystemError, EIO for what is damaged or
// lies beyond the end of the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"
#include "CachedSource.h"
#include "QcowContested.h"
#include "QcowHeader.h"
#include "QcowOwnPlaces.h"

#include <memory>

namespace vx {

// How a piece of the disk is stored.
struct QcowExtent {
    enum class Kind {
        kZeros,
        kBelow,   // not here: in the backing file, or zeros without one
        kStored,  // as it is
        kPacked,  // in a compressed cluster
    };

    Kind kind = Kind::kZeros;
    uint64_t length = 0;
    // kStored: where it begins in the file of the clusters. kPacked: where its cluster does, which
    // ends at packedEnd or before.
    uint64_t place = 0;
    uint64_t packedEnd = 0;
};

class QcowTables {
public:
    // clusterFileBytes: the size of the file of the clusters.
    QcowTables(std::shared_ptr<const ByteSource> file, const QcowHeader &header,
               uint64_t clusterFileBytes);

    // How the disk is stored from the offset on, as far as that is the same, up to a limit of its
    // own: at most count bytes, at least 1.
    Result<QcowExtent> Find(uint64_t offset, uint64_t count) const;

    const QcowOwnPlaces &OwnPlaces() const { return _own; }
    const QcowContested &Contested() const { return _contested; }

private:
    struct Entry {
        uint64_t descriptor = 0;
        uint64_t bits = 0;  // of subclusters: which are stored, and above which are zeros
    };

    Result<uint64_t> FindL2Table(uint64_t number) const;
    Result<QcowExtent> Describe(const Entry &entry, uint64_t skip) const;
    Result<QcowExtent> DescribePacked(uint64_t descriptor, uint64_t length) const;
    Result<QcowExtent> DescribeStored(uint64_t descriptor, uint64_t skip, uint64_t length) const;
    Result<QcowExtent> DescribeParts(const Entry &entry, uint64_t skip) const;
    Entry EntryAt(ByteView bytes, uint64_t index) const;

    const std::shared_ptr<const ByteSource> _file;
    const CachedSource _cached;
    const QcowHeader _header;
    const QcowOwnPlaces _own;
    const uint64_t _clusterFileBytes;
    const QcowContested _contested;
};

}  // namespace vx
