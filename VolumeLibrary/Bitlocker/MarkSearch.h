// Looks for sectors with a signature: the first sectors of encrypted volumes, copies of their
// metadata, records of a conversion. All of them begin on a multiple of 512 bytes, whatever the
// size of the sectors is.
//
// What cannot be read is passed over and counted; holes of a sparse image are not read. Ownership:
// borrows the source and the flag. Threads: one. Units: bytes.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"
#include "CancelFlag.h"
#include "StepProgress.h"

#include <functional>

namespace vx::bitlocker {

class MarkSearch {
public:
    static constexpr size_t kSectorBytes = 512;

    // sector: kSectorBytes of them.
    using IsMarked = bool (*)(const uint8_t *sector);
    // Whether to go on. offset: of the sector in the source.
    using Visitor = std::function<bool(uint64_t offset, ByteView sector)>;

    // cancel may be null.
    MarkSearch(const ByteSource &source, const CancelFlag *cancel, const ProgressReceiver &progress)
        : _source(source), _cancel(cancel), _progress(progress)
    {
    }

    // Visits the marked sectors that begin in the range, which begins on the boundary of a sector,
    // in ascending order. Errors: kCancelled; kSystemError with ENODEV if the disk is gone.
    Error Visit(ByteRange range, IsMarked isMarked, const Visitor &visit);
    // By all visits so far.
    uint64_t UnreadBytes() const { return _unreadBytes; }

private:
    uint64_t NextSector(uint64_t offset, uint64_t end) const;
    Error ReadPiece(uint64_t offset, std::vector<uint8_t> *piece);

    const ByteSource &_source;
    const CancelFlag *const _cancel;
    const ProgressReceiver _progress;
    uint64_t _unreadBytes = 0;
};

// The first sector of an encrypted volume, perhaps, or the beginning of a copy of its metadata.
bool BeginsVolumeOrMetadata(const uint8_t *sector);
// The beginning of a copy of the metadata.
bool BeginsMetadata(const uint8_t *sector);
// The information about a conversion.
bool BeginsConversion(const uint8_t *sector);

}  // namespace vx::bitlocker
