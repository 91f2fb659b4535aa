// Which clusters of a QCOW2 image two entries of L2 tables lead to although one of the entries says
// that it is the only one. Such a cluster belongs to one place of the disk, and nothing says to
// which: neither may be read. Entries that make no such claim may share a cluster.
//
// Compared are the entries of the first kMostTables L2 tables, kMostTableBytes of them at most, so
// that a large image opens quickly, and of them those that lead to the first kMostClusters clusters
// of the file. What cannot be read of a table is not compared.
//
// Threads: unchanging. Memory: 16 bytes for each range, at most 1 MiB; while it is made, 25 MiB
// more. If there are more than kMostRanges, all beyond the last one counts as contested. Units:
// bytes.
#pragma once

#include "ByteRange.h"
#include "ByteSource.h"
#include "QcowHeader.h"
#include "QcowOwnPlaces.h"

#include <memory>

namespace vx {

class QcowContested {
public:
    static constexpr uint64_t kMostTables = uint64_t{1} << 12;
    static constexpr uint64_t kMostTableBytes = uint64_t{64} << 20;
    static constexpr uint64_t kMostClusters = uint64_t{1} << 26;
    static constexpr size_t kMostRanges = size_t{1} << 16;

    // Reads the tables once. clusterFileBytes: the size of the file of the clusters.
    QcowContested(std::shared_ptr<const ByteSource> file, const QcowHeader &header,
                  const QcowOwnPlaces &own, uint64_t clusterFileBytes);

    bool IsEmpty() const { return _ranges.empty(); }
    // place: in the file of the clusters.
    bool Holds(uint64_t place) const { return EndOfRangeAt(_ranges, place) > place; }

private:
    ByteRanges _ranges;
};

}  // namespace vx
