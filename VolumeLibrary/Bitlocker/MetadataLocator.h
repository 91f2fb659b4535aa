// Finds the copies of the metadata and separates usable from damaged copies.
//
// One pointer that survives is enough: a readable copy names the other two. When no copy is
// usable, the front of the volume is searched for one.
#pragma once

#include "BootSector.h"
#include "ByteSource.h"
#include "CancelFlag.h"
#include "MetadataBlock.h"

#include <deque>
#include <set>

namespace vx::bitlocker {

struct ExaminedCopy {
    uint64_t offset = 0;  // in the volume
    std::string problem;  // why it cannot be used; empty if it can
};

struct MetadataCopies {
    std::vector<MetadataBlock> usable;   // the newest first; at least one
    std::vector<std::string> warnings;   // one for each copy that is damaged or missing
    std::vector<ExaminedCopy> examined;  // in the order in which they were named
};

// By the boot sector or else by a copy; 0 if neither says so.
uint32_t RecordedSectorSize(const BootSector &boot, const std::vector<MetadataBlock> &copies);

class MetadataLocator {
public:
    // How much of a volume is searched when no pointer leads to a usable copy.
    static constexpr uint64_t kSearchLimit = 1ULL << 30;

    // The arguments must outlive the locator; cancel may be null.
    MetadataLocator(const ByteSource &source, const BootSector &boot, const CancelFlag *cancel);

    // Errors: kDamagedMetadata; kTruncatedImage if every copy lies beyond the end; kSystemError if
    // no copy could be read for that reason; kCancelled.
    Result<MetadataCopies> Locate();
    // Only those that are named somewhere; usable may be empty.
    MetadataCopies LocateNamed();

private:
    void TryNamed();
    void PutNewestFirst();
    void TryCandidates();
    void TryCopy(uint64_t offset);
    void AddCandidates(const std::vector<uint64_t> &offsets);
    Error ReadArea(uint64_t offset, std::vector<uint8_t> &area) const;
    Result<MetadataBlock> ParseChecked(ByteView area, uint64_t offset) const;
    Error Search();
    void SearchPiece(ByteView piece, uint64_t begin);
    Error Failure() const;

    const ByteSource &_source;
    const BootSector &_boot;
    const CancelFlag *const _cancel;
    const size_t _areaSize;
    std::deque<uint64_t> _candidates;
    std::set<uint64_t> _seen;
    MetadataCopies _copies;
    Error _readError;
    bool _allBeyondEnd = false;
};

}  // namespace vx::bitlocker
