// An entry of a volume as one JSON object. Programs rely on the names of its keys and of the
// reasons, kinds and attributes in it; docs/volumes.md lists them.
#pragma once

#include "FolderRecords.h"

#include <optional>
#include <string>

namespace vx {

// What is known of an entry whose record lies in a folder.
struct ListedEntry {
    const FolderRecord &record;
    const std::u16string &path;
    bool hasTextName = true;  // false: the name is no valid UTF-16
    VolumeEntryReport report;
    // Of a folder that was listed or could not be; nothing for any other entry.
    std::optional<VolumeListingReport> listing;
    bool isListable = true;
    std::vector<VolumeStream> streams = {};  // beside its data
    bool areAllStreams = true;
};

// "file", "folder" or "link"
const char *TypeName(const FolderRecord &record);

// One line without its end.
std::string EntryJson(const ListedEntry &entry);

// The same for a folder that was named and not listed whole.
std::string ListingJson(const std::u16string &path, const VolumeListingReport &report);

}  // namespace vx
