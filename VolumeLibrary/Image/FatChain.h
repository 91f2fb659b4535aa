// The clusters of a FAT or exFAT volume: where they lie, and which follows which.
//
// Threads: any number at a time. Units: sectors and clusters as named, otherwise bytes.
#pragma once

#include "CachedSource.h"
#include "ExtentFile.h"
#include "FatGeometry.h"

#include <optional>

namespace vx {

class FatChain {
public:
    // tables must outlive the object.
    FatChain(const CachedSource &tables, const FatGeometry &geometry);

    // The runs of a file. size: bytes; what lies behind is not looked at. Nothing if the chain
    // ends before, leads off the volume, goes in circles or consists of too many runs.
    std::optional<std::vector<Extent>> Follow(uint32_t firstCluster, uint64_t size) const;
    // The same for a folder, which only its chain tells the size of; at most most bytes.
    std::optional<std::vector<Extent>> FollowToEnd(uint32_t firstCluster, uint64_t most) const;
    // The runs of a file whose clusters follow each other without a chain.
    std::optional<std::vector<Extent>> Contiguous(uint32_t firstCluster, uint64_t size) const;

    // Whether the first entry of the table is what every volume has there.
    bool IsTableGood(uint8_t media) const;

private:
    std::optional<uint32_t> EntryOf(uint32_t cluster) const;
    bool IsOnVolume(uint32_t cluster) const;
    bool IsEnd(uint32_t entry) const;
    Extent ExtentOf(uint32_t cluster, uint64_t position) const;

    const CachedSource &_tables;
    const FatGeometry _geometry;
};

}  // namespace vx
