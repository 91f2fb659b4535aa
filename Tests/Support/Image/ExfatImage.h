// An image of mkfs.exfat into which files and folders are written by hand, since nothing fills one
// without the kernel's help. Which clusters they take is the caller's choice; none is marked as
// taken, which reading does not look at.
#pragma once

#include "ExfatSet.h"

#include <memory>

namespace vx {

class ExfatImage {
public:
    using Bytes = std::vector<uint8_t>;

    // made: the image as mkfs.exfat has made it.
    explicit ExfatImage(const std::string &made);

    // Where a cluster begins.
    size_t PlaceOf(uint32_t cluster) const;
    // Adds the entry behind those that are in the folder already. folder: its first cluster.
    void Add(uint32_t folder, const ExfatEntry &entry);
    void Write(uint32_t cluster, const std::string &contents);
    // Makes each cluster follow the one before it.
    void Chain(const std::vector<uint32_t> &clusters);
    // What the table says of one cluster.
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
