// The volumes of a disk with an MBR or a GPT, in the order in which they lie on it.
//
// Only partitions that hold something this library can tell are listed: encrypted volumes and
// known file systems. One whose first sector cannot be read could be such a one and is listed as
// well, so that the others keep their numbers.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "FileSystemKind.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct Partition {
    uint64_t offset = 0;  // bytes from the start of the disk
    uint64_t size = 0;    // bytes
    FileSystemKind kind = FileSystemKind::kUnknown;
    std::string name;  // what the table says of it, UTF-8; may be empty

    std::shared_ptr<const bitlocker::ByteSource>
    In(std::shared_ptr<const bitlocker::ByteSource> disk) const;
};

class PartitionTable {
public:
    // Empty if there is no table, or a damaged one. unread: if there may be more partitions than
    // those, receives why: SystemError where a table could not be read, TruncatedImage where one
    // begins behind the end of the disk.
    static std::vector<Partition> Read(const std::shared_ptr<const bitlocker::ByteSource> &disk,
                                       bitlocker::Error *unread);

    // "1: encrypted, 60.0 GiB (Basic data partition); 2: ..."
    static std::string Describe(const std::vector<Partition> &partitions);
};

}  // namespace vx
