// One stream of a file: an attribute with all its parts, which may lie in several records.
//
// Threads: any number at a time.
#pragma once

#include "NtfsIndexBlock.h"
#include "NtfsMft.h"

#include <functional>

namespace vx {

// kYes: the stream is there, perhaps with parts missing, as its trouble says. kNo: there is none.
// kDamaged: if there is one, nothing of it can be read; its trouble says why.
enum class NtfsFound { kYes, kNo, kDamaged };

struct NtfsStream {
    NtfsFound found = NtfsFound::kNo;
    bool isResident = false;
    uint16_t flags = 0;             // of NtfsAttribute
    unsigned compressionShift = 0;  // clusters of a compression unit, as a power of two
    std::vector<uint8_t> bytes;     // if resident
    FileExtents extents;            // otherwise; what a missing part holds is in no run
    // Why parts are missing, kDamaged or kUnreadable: the first reason that was found.
    VolumeObstacle trouble = VolumeObstacle::kNone;

    uint64_t Size() const { return isResident ? bytes.size() : extents.size; }
    void NoteTrouble(VolumeObstacle reason);
};

// Reads where a stream of the file lies, not its contents. file, number: of its own record.
NtfsStream FindStream(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, NtfsType type, std::u16string_view name);

// Its size alone; 0 if there is none.
uint64_t StreamSize(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, NtfsType type);

// Every stream of data with a name, as the file's records name them, with its size; nothing if the
// record of the stream is damaged. False if some may be missing.
using StreamNameVisitor = std::function<void(ByteView name, std::optional<uint64_t> size)>;
bool VisitStreamNames(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, const StreamNameVisitor &visit);

// Every long name of the file: those in its own record, then those in its other ones. visit returns
// whether to continue. False if names may be missing among those visited.
bool VisitLongNames(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, const std::function<bool(NtfsIndexName)> &visit);

// The first long name. A folder has one.
std::optional<NtfsIndexName> FindOwnName(const NtfsMft &mft, const ByteSource &volume,
                                         const NtfsRecord &file, uint64_t number);

}  // namespace vx
