// Encrypted volumes of a disk whose first sector is lost, or whose place no table of partitions
// says: they are found by their metadata and get a first sector that leads to it.
//
// Ownership: shares the disk, borrows the flag. Threads: one. Units: bytes.
#pragma once

#include "CancelFlag.h"
#include "FileSystemKind.h"
#include "LostVolume.h"
#include "PartitionTable.h"
#include "StepProgress.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vx {

// For the user, who cannot be helped otherwise.
constexpr const char *kSearchAdvice = "\"volume-info --search\" searches all of a disk for it";

struct RegainedVolume {
    std::shared_ptr<const ByteSource> source;  // begins with a first sector in any case
    uint64_t offset = 0;                       // on the disk
    bool isRebuilt = false;                    // its first sector is lost
    // False: nothing says where it ends; the source goes on to the next partition or to the end of
    // the disk.
    bool isEndKnown = true;
    // Whether a file system can be recognised in it without a key although it is encrypted: a part
    // of it is not, or it has a program for computers that cannot open it.
    bool hasPlainPart = false;
    std::string note;  // for the user; empty if nothing is lost
};

class LostVolumes {
public:
    LostVolumes(std::shared_ptr<const ByteSource> disk, const CancelFlag *cancel,
                const ProgressReceiver &progress)
        : _disk(std::move(disk)), _cancel(cancel), _progress(progress)
    {
    }

    // The volume that begins at this byte of the disk, or has a copy of its metadata there. More
    // than one, the likeliest first, if the copy is the only one and may belong to each of them.
    // Errors: kNoSuchVolume; kCancelled; kSystemError if the disk is gone.
    Result<std::vector<RegainedVolume>> At(uint64_t offset) const;

    // The volume at the beginning of a partition, with its metadata in the front of it. Errors:
    // kCancelled; kSystemError if the disk is gone.
    Result<std::optional<RegainedVolume>> AtFrontOf(const Partition &partition) const;
    // The same of several partitions. Errors: kSeveralVolumes too, with a list of their offsets.
    Result<std::optional<RegainedVolume>>
    AtFrontOfOne(const std::vector<Partition> &partitions) const;

private:
    using Lost = bitlocker::LostVolume;

    std::vector<Lost> ByBootSector(uint64_t offset) const;
    Result<std::vector<Lost>> Find(uint64_t offset) const;
    Result<RegainedVolume> Regain(const Lost &lost, const Partition &place, bool isEndKnown) const;
    Result<RegainedVolume> Regain(const Lost &lost) const;

    const std::shared_ptr<const ByteSource> _disk;
    const CancelFlag *const _cancel;
    const ProgressReceiver _progress;
};

// Whether the first sector is one of an encrypted volume but for some bytes.
bool ResemblesEncrypted(const ByteSource &volume);

// The contents of an unlocked volume of Windows Vista that lost its first sector: it held most of
// the first sector of the file system, which is replaced by its backup, or by zeros if there is
// none.
std::shared_ptr<const ByteSource> WithFirstSector(const std::shared_ptr<const ByteSource> &plain,
                                                  std::vector<std::string> *notes);

// The contents of an unlocked volume of which nothing but its file system says where it ends.
std::shared_ptr<const ByteSource> CutToFileSystem(const std::shared_ptr<const ByteSource> &plain,
                                                  FileSystemKind kind);

}  // namespace vx
