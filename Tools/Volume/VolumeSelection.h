// Finds the entry that a path on the command line names.
//
// A path is absolute from the volume's root; the leading "/" may be missing and a trailing one
// is ignored. Names match exactly, unit by unit. Threads: one at a time.
#pragma once

#include "FolderShelf.h"

#include <string>
#include <vector>

namespace vx {

// An entry with the folders above it, from the root's child down; empty for the root.
struct NamedEntry {
    std::vector<FolderRecord> way;

    bool IsFolder() const { return way.empty() || way.back().IsFolder(); }
    // On the volume; empty for the root.
    std::u16string Path() const;
};

// False: error says why in one line.
bool FindEntry(FolderShelf &shelf, const std::string &path, NamedEntry *entry, std::string *error);

}  // namespace vx
