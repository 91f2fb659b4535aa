// One stream of a file: an attribute with all its parts, which may lie in several records.
#pragma once

#include "NtfsIndexBlock.h"
#include "NtfsMft.h"

namespace vx {

struct NtfsStream {
    bool isResident = false;
    uint16_t flags = 0;             // of NtfsAttribute
    unsigned compressionShift = 0;  // clusters of a compression unit, as a power of two
    std::vector<uint8_t> bytes;     // if resident
    FileExtents extents;            // otherwise

    uint64_t Size() const { return isResident ? bytes.size() : extents.size; }
};

enum class NtfsFound { kYes, kNo, kDamaged };

// Reads where a stream of the file lies, not its contents. file: the record that stands for it.
// Of a damaged one stream receives the parts before the damage.
NtfsFound FindStream(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                     const NtfsRecord &file, uint64_t number, NtfsType type,
                     std::u16string_view name, NtfsStream *stream);

// Its size alone; 0 if there is none.
uint64_t StreamSize(const NtfsMft &mft, const bitlocker::ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, NtfsType type);

// The long name in the file's own record, or in the first of its other ones that has any. A folder
// has one long name.
std::optional<NtfsIndexName> FindOwnName(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                                         const NtfsRecord &file, uint64_t number);

}  // namespace vx
