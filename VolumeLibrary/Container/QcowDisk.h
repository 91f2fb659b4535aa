// The disk in a QCOW2 image. Clusters that it does not hold are those of its backing file; without
// one, and beyond its end, they are zeros.
//
// What cannot be read or contradicts itself costs the clusters that depend on it and nothing else:
// a damaged entry of a table its cluster, a compressed cluster itself.
//
// Ownership: shares the files. Threads: any number at a time; clusters are unpacked without a lock.
// Memory: QcowTables.h, UnpackedPieces.h, and one cluster for each running read. Errors:
// kSystemError with "read at" and the place on the disk, EIO for what is damaged or lies beyond the
// end of the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"
#include "QcowTables.h"
#include "UnpackedPieces.h"

#include <memory>

namespace vx {

class QcowDisk final : public ByteSource {
public:
    struct Files {
        std::shared_ptr<const ByteSource> image;
        std::shared_ptr<const ByteSource> clusters;  // where they lie, the image itself as a rule
        std::shared_ptr<const ByteSource> backing;   // null if there is none
    };

    QcowDisk(Files files, const QcowHeader &header);

    uint64_t Size() const override { return _header.diskBytes; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

    const QcowTables &Tables() const { return _tables; }

private:
    Error ReadExtent(const QcowExtent &extent, uint64_t offset, uint8_t *place) const;
    Error ReadBelow(uint64_t offset, uint8_t *place, size_t count) const;
    Error ReadPacked(const QcowExtent &extent, uint64_t offset, uint8_t *place) const;
    // place has room for a whole cluster.
    Error Unpack(const QcowExtent &extent, uint8_t *place) const;

    const Files _files;
    const QcowHeader _header;
    const QcowTables _tables;
    mutable UnpackedPieces _pieces;
};

}  // namespace vx
