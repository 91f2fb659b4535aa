// Where a QCOW2 image keeps its own tables. A table that leads there is damaged: what it stands for
// must not be read as a part of the disk.
//
// Known are the header, the L1 table, the table and the blocks of reference counts, the table of
// snapshots and the L2 tables; of the last two kinds kMostKept together. An L2 table that two
// entries of the L1 table name belongs to neither.
//
// Threads: unchanging. Memory: 8 bytes for each table kept, at most 256 KiB.
#pragma once

#include "ByteRange.h"
#include "ByteSource.h"
#include "QcowHeader.h"

#include <vector>

namespace vx {

class QcowOwnPlaces {
public:
    static constexpr size_t kMostKept = size_t{1} << 15;

    // Reads both tables once. What cannot be read is not known.
    QcowOwnPlaces(const ByteSource &file, const QcowHeader &header);

    // place: of a cluster, in bytes. Whether it is any of them.
    bool Holds(uint64_t place) const { return IsFixed(place) || IsIn(_tables, place); }
    // Whether an L2 table can be there.
    bool MayBeL2Table(uint64_t place) const;

private:
    void TakeTable(const ByteSource &file, uint64_t at, uint64_t entries, uint64_t mask);
    bool IsFixed(uint64_t place) const;
    static bool IsIn(const std::vector<uint64_t> &places, uint64_t place);

    const uint64_t _clusterBytes;
    ByteRanges _fixed;
    std::vector<uint64_t> _tables;  // sorted, and below too
    std::vector<uint64_t> _shared;  // those that are named twice
};

}  // namespace vx
