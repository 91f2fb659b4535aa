// The clusters of a FAT or exFAT volume: where they lie, and which follows which.
//
// A chain is followed up to an entry that is free, bad, off the volume or unreadable, to a cluster
// that the chain had before, or to one in the middle of another chain. If a table has copies, a
// better one replaces a single bad entry, or a whole chain. Threads: any number at a time. Units:
// sectors and clusters as named, otherwise bytes. Format: Microsoft, "FAT32 File System
// Specification" and "exFAT file system specification".
#pragma once

#include "CachedSource.h"
#include "ExtentFile.h"
#include "FatGeometry.h"
#include "VolumeReport.h"

#include <optional>

namespace vx {

// Where a file or folder lies, up to where that is known.
struct FatRuns {
    std::vector<FileRun> runs;
    // Not kNone: the runs end too early, or the chain does not end where the size does.
    VolumeObstacle obstacle = VolumeObstacle::kNone;

    uint64_t Bytes() const { return runs.empty() ? 0 : runs.back().position + runs.back().length; }
};

class FatChain {
public:
    // tables must outlive the object.
    FatChain(const CachedSource &tables, const FatGeometry &geometry);

    // The runs of a file. size: bytes.
    FatRuns Follow(uint32_t firstCluster, uint64_t size) const;
    // The same for a folder, whose size only its chain knows; at most this many bytes.
    FatRuns FollowToEnd(uint32_t firstCluster, uint64_t most) const;
    // The runs of a file whose clusters follow each other without a chain.
    FatRuns Contiguous(uint32_t firstCluster, uint64_t size) const;

    // Whether clusters other than these are in use according to the first 16 MiB of the table;
    // nothing if they cannot be read.
    std::optional<bool> HasOthersThan(const std::vector<FileRun> &own) const;

    // Whether a copy of the table begins with the entry that every volume has there.
    bool IsTableGood(unsigned copy) const;

private:
    class Walk;

    FatRuns FollowIn(unsigned copy, uint32_t firstCluster, uint64_t size) const;
    FatRuns FollowToEndIn(unsigned copy, uint32_t firstCluster, uint64_t most) const;
    template <typename Following>
    FatRuns BestOfCopies(Following following) const;

    std::optional<bool> HasOthersIn(unsigned copy, const std::vector<FileRun> &own) const;
    std::optional<uint32_t> EntryOf(uint32_t cluster, unsigned copy) const;
    std::optional<uint32_t> NextOf(uint32_t cluster, unsigned copy) const;
    bool IsOnVolume(uint32_t cluster) const { return _geometry.IsOnVolume(cluster); }
    bool IsEnd(uint32_t entry) const;
    FileRun RunOf(uint32_t cluster, uint64_t position) const;

    const CachedSource &_tables;
    const FatGeometry _geometry;
};

}  // namespace vx
