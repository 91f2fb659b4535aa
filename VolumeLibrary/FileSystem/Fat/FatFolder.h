// Reads a folder of FAT12, FAT16 or FAT32. Left out are deleted entries, volume labels, "." and
// "..". An entry without a long name is shown by its short one, in small letters where the
// disk says so.
//
// Whatever cannot be an entry is left out and reported, and so is damage around it (FolderBytes.h).
// An entry whose long name is damaged is shown by its short one, and reported; parts of a long name
// that belong to no entry are reported as a missing one, unless a deleted entry follows them. The
// size of a file is never shown as more than the volume holds. A node's place is the first cluster;
// its size holds three flags in the highest bits.
#pragma once

#include "FatEntry.h"
#include "FileSystem.h"
#include "FolderBytes.h"

#include <optional>

namespace vx {

// What is known of a file or folder of FAT or exFAT by its node.
struct FatNode {
    uint32_t firstCluster = 0;
    uint64_t size = 0;     // bytes; 0 for a folder of FAT
    uint64_t written = 0;  // what follows reads as zeros
    bool isFolder = false;
    bool isContiguous = false;  // exFAT: there is no chain
    bool isDoubtful = false;    // exFAT: its entries do not fit their checksum

    static constexpr uint64_t kMostBytes = uint64_t{1} << 60;

    Node Pack() const;
    static FatNode Unpack(const Node &node);
};

class FatFolder final : public FolderReader {
public:
    // geometry must outlive the object.
    FatFolder(FolderBytes bytes, const FatGeometry &geometry, bool isRoot)
        : _bytes(std::move(bytes)), _geometry(geometry), _isRoot(isRoot)
    {
    }

    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;
    VolumeListingReport Report() const override { return _bytes.Damage().Report(); }

private:
    // The parts of a long name, which come in front of the entry, the last part first.
    struct LongName {
        std::vector<uint8_t> units;  // UTF-16
        uint8_t check;
        unsigned next;  // the number of the part that is to follow; 0: it is whole
    };

    FolderBytes::Step NextEntry();
    void TakeGap();
    void TakeEnd();
    void DropName();
    void TakeNamePart();
    void BeginName(unsigned parts);
    void TearName();
    bool IsAmidName() const;
    bool TakeFile(FolderEntry *entry);
    void TakeLabel();
    bool IsPlausible();
    std::optional<std::string> LongNameOfFile() const;
    bool HasNameParts() const { return _longName || _isNameTorn; }

    FolderBytes _bytes;
    const FatGeometry &_geometry;
    const bool _isRoot;
    bool _hasBegun = false;
    FolderBytes::Entry _entry = {};
    FatEntry _file{_entry};  // the same, of a file, a folder or a label
    std::optional<LongName> _longName;
    bool _isNameTorn = false;       // parts came that make no name
    bool _isNameBeyondEnd = false;  // an entry that says that none follows came before its parts
};

}  // namespace vx
