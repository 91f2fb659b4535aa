// What is missing from a QCOW2 image that was cut short. The reference counts show how long the
// file must be, so a sound image is not searched; only if it seems too short, its tables are.
#pragma once

#include "ByteSource.h"
#include "QcowHeader.h"
#include "QcowTables.h"

namespace vx {

struct QcowShortfall {
    uint64_t missingBytes = 0;  // of the disk
    bool isLeast = false;       // there may be more: not all of the tables were searched
};

// clusterFileBytes: the size of the file of the clusters. Memory: 64 KiB. Time: a few reads of the
// image if it is sound, otherwise kMostSteps look-ups in its tables. What cannot be read of the
// reference counts is taken for 0.
class QcowShortfallSearch {
public:
    static constexpr uint64_t kMostSteps = uint64_t{1} << 18;

    QcowShortfallSearch(const ByteSource &file, const QcowHeader &header, const QcowTables &tables,
                        uint64_t clusterFileBytes)
        : _file(file), _header(header), _tables(tables), _clusterFileBytes(clusterFileBytes)
    {
    }

    QcowShortfall Find() const { return MayBeShort() ? Count() : QcowShortfall(); }

private:
    bool MayBeShort() const;
    QcowShortfall Count() const;
    uint64_t HighestCluster() const;
    uint64_t HighestIn(uint64_t block) const;
    uint64_t LastNonZero(uint64_t at, uint64_t length) const;

    const ByteSource &_file;
    const QcowHeader &_header;
    const QcowTables &_tables;
    const uint64_t _clusterFileBytes;
};

}  // namespace vx
