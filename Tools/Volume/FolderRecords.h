// What a volume reports about a folder, in full; the catalogue keeps only what the window shows.
#pragma once

#include "VolumeReports.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vx {

// Microsoft Learn, "File Attribute Constants": FILE_ATTRIBUTE_REPARSE_POINT
constexpr uint32_t kAttributeReparsePoint = 0x400;

struct FolderRecord {
    std::u16string name;
    uint32_t attributes = 0;
    uint32_t reparseTag = 0;  // 0 without a reparse point, and if the volume does not report it
    uint64_t created = 0;     // the three times: 100 ns since 1601-01-01 00:00 UTC; 0 for none
    uint64_t accessed = 0;
    uint64_t modified = 0;
    int64_t size = 0;  // in bytes

    bool IsFolder() const;
    // Whether it leads elsewhere; other reparse points have data.
    bool IsLink() const;
    // Whether the name is "." or "..": such a folder need not be entered.
    bool IsSelfOrParent() const;
};

// One of a listing, in the volume's order; valid until it returns.
using RecordVisitor = std::function<void(const FolderRecord &record)>;

// path: the folder's volume path, empty for the root. Nothing if it cannot be listed.
// Threads: as the operations of IVolume.
std::optional<VolumeListingReport> VisitFolder(IVolume &volume, const VolumeReports &reports,
                                               const std::u16string &path,
                                               const RecordVisitor &visit);

struct FolderRecords {
    std::vector<FolderRecord> records;  // in the volume's order
    VolumeListingReport report;
};

// The same at once.
std::optional<FolderRecords> ReadFolder(IVolume &volume, const VolumeReports &reports,
                                        const std::u16string &path);

}  // namespace vx
