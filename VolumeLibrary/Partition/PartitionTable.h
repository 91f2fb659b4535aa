// The tables of partitions that a disk may have, MBR and GPT, for sectors of 512 and of 4096 bytes.
//
// Threads: any number at a time. Units: bytes. Formats: MbrPartitions.h, GptTable.h.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct Partition {
    uint64_t offset = 0;  // from the start of the disk
    uint64_t size = 0;
    std::string name;  // what the table says of it, UTF-8, without control characters; may be empty
    PartitionUse use = PartitionUse::kOrdinary;

    std::shared_ptr<const ByteSource> In(std::shared_ptr<const ByteSource> disk) const;
};

struct PartitionTable {
    std::vector<Partition> partitions;  // in the order of the table; all begin on the disk
    std::string note;                   // what was noticed about it, for a person; may be empty
    // If it may have more partitions than those, why: kSystemError where it could not be read,
    // kTruncatedImage where a partition begins beyond the end of the disk.
    Error unread;

    // The tables for sectors of this size, the likeliest first: what the disk holds decides between
    // them. Never empty; without partitions where there is no table, or one of which nothing makes
    // sense.
    static std::vector<PartitionTable> ReadAll(const ByteSource &disk, uint64_t sectorBytes);
};

// Without what would steer a terminal.
std::string WithoutControls(const std::string &text);

}  // namespace vx
