// The partition tables of a disk: MBR and GPT, for sectors of 512 and of 4096 bytes.
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
    std::string name;  // UTF-8 without control characters; may be empty
    PartitionUse use = PartitionUse::kOrdinary;
    std::string type;  // as PartitionTypes.h names it

    std::shared_ptr<const ByteSource> In(std::shared_ptr<const ByteSource> disk) const;
};

struct PartitionTable {
    enum class Kind { kNone, kMbr, kGpt };

    Kind kind = Kind::kNone;
    std::vector<Partition> partitions;  // in the order of the table; all begin on the disk
    std::string note;                   // a defect of the table, for the user; may be empty
    // Why the disk may have more partitions than these, or none: kSystemError if a part of the
    // table could not be read, kTruncatedImage if a partition begins beyond the end of the disk.
    Error unread;

    // The tables for sectors of this size, the likeliest first; the caller chooses by what the disk
    // holds. Never empty: without a table, or with one that is not valid, there is one entry
    // without partitions.
    static std::vector<PartitionTable> ReadAll(const ByteSource &disk, uint64_t sectorBytes);
};

// Without control characters, which could harm a terminal.
std::string WithoutControls(const std::string &text);

}  // namespace vx
