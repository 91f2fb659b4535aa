// Reads a folder of exFAT: sets of entries, each a file, its stream and its name. Left out are
// deleted sets.
//
// A set with a wrong checksum is shown if its parts make a name and a place, and reported; so is a
// set after an entry that says that none follows. Parts that belong to no set, and sets that are
// not valid, are reported as missing. A root without the two entries that every root has, those of
// the allocation bitmap and of the upper case table, is reported as damaged.
//
// The size of a file is never shown as more than the volume holds.
// The node is that of FatFolder.h.
// Format: Microsoft, "exFAT file system specification".
#pragma once

#include "FileSystem.h"
#include "FolderBytes.h"

namespace vx {

class ExfatFolder final : public FolderReader {
public:
    // mostBytes: what the volume holds.
    ExfatFolder(FolderBytes bytes, uint64_t mostBytes, bool isRoot)
        : _bytes(std::move(bytes)), _mostBytes(mostBytes), _isRoot(isRoot)
    {
    }

    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;
    VolumeListingReport Report() const override { return _bytes.Damage().Report(); }

private:
    VolumeListing::Step TakeSet();
    void TakeOther();
    VolumeListing::Step TakeEnd();
    bool FitsChecksum() const;
    bool ShowSet(FolderEntry *entry);
    bool TakeFile(FolderEntry *entry) const;
    size_t StatedEntries() const { return size_t{_set[0][1]} + 1; }

    FolderBytes _bytes;
    const uint64_t _mostBytes;
    const bool _isRoot;
    bool _hasAllocation = false;
    bool _hasUpperCase = false;
    FolderBytes::Entry _next = {};
    bool _hasNext = false;  // _next was read and belongs to no set yet
    std::vector<FolderBytes::Entry> _set;
    bool _isSetBeyondEnd = false;
    bool _isSetGood = false;
};

}  // namespace vx
