// The reparse point of a file or folder: data about it that belongs to another program than the
// file system. The tag says which; only tags with the bit of a name surrogate lead elsewhere.
//
// Threads: any number at a time; the values are unchanging.
// Sources of the tags and layouts: Microsoft Learn, [MS-FSCC] 2.1.2, "Reparse Point Data
// Structures"; of packed files, "WOF_EXTERNAL_INFO" and "FILE_PROVIDER_EXTERNAL_INFO_V1".
#pragma once

#include "NtfsStream.h"
#include "WofFile.h"

namespace vx {

class NtfsReparsePoint {
public:
    // Reads it wherever it lies: in the record, in runs or in another record of the file.
    static NtfsReparsePoint Read(const NtfsMft &mft, const ByteSource &volume,
                                 const NtfsRecord &file, uint64_t number);

    // 0 without a reparse point, and for one that cannot be read.
    uint32_t Tag() const { return _tag; }
    // Why it cannot be read, or why it is not even known whether there is one.
    VolumeObstacle Trouble() const { return _trouble; }

    bool LeadsElsewhere() const;
    // How its data is packed; nothing if it is not, or in a way that is not known.
    std::optional<WofPacking> Packing() const;
    // Its data is packed or stored elsewhere in a form that cannot be read: kPacked,
    // kDeduplicated; otherwise kNone.
    VolumeObstacle Form() const;
    // What it means if its data is not here: kOnlyInCloud or kUnknownReparsePoint.
    VolumeObstacle Absence() const;
    // Whether a file of this kind may be empty, and nothing is missing then.
    bool MayBeEmpty() const;
    // Where a link leads, as the disk has it: zero-terminated, cut to the capacity in units;
    // empty if that is not known.
    void CopyTarget(char16_t *target, size_t capacity) const;

private:
    ByteView TargetBytes() const;

    uint32_t _tag = 0;
    VolumeObstacle _trouble = VolumeObstacle::kNone;
    std::vector<uint8_t> _bytes;
};

}  // namespace vx
