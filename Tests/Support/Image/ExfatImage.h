// An exFAT image made by mkfs.exfat to which a test adds files and folders itself, since no program
// does so without the kernel. The caller chooses their clusters; they are not marked as allocated,
// which readers ignore.
#pragma once

#include "ExfatSet.h"

#include <memory>

namespace vx {

class ExfatImage {
public:
    using Bytes = std::vector<uint8_t>;

    // made: the image as mkfs.exfat made it.
    explicit ExfatImage(const std::string &made);

    // Where a cluster begins.
    size_t PlaceOf(uint32_t cluster) const;
    // Adds the entry after those that the folder has. folder: its first cluster.
    void Add(uint32_t folder, const ExfatEntry &entry);
    void Write(uint32_t cluster, const std::string &contents);
    // Links the clusters in this order.
    void Chain(const std::vector<uint32_t> &clusters);
    // A cluster's entry in the allocation table.
    void PutNext(uint32_t cluster, uint32_t next);

    std::string Text() const { return {bytes.begin(), bytes.end()}; }

    Bytes bytes;
    size_t clusterBytes = 0;
    uint32_t root = 0;  // the first cluster of the root folder

private:
    size_t _table = 0;
    size_t _heap = 0;
};

}  // namespace vx
