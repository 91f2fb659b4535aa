// A file system as FileSystemVolume uses it: folders that are read once from front to back, and
// files that open by their node. Nothing here knows paths.
//
// Ownership: the readers and files borrow the file system. Threads: every operation of
// FileSystem may run on several threads at a time; a reader is used by one thread at a time.
// Text: names are the bytes of Wtf8.h.
// Errors: null, false or kError; an operation may throw std::bad_alloc.
#pragma once

#include "VolumeFile.h"
#include "VolumeListing.h"

#include <memory>
#include <string>
#include <string_view>

namespace vx {

// Where an entry lies: all that is needed to open it again. Two folders are the same one exactly
// if their places are equal.
struct Node {
    uint64_t place = 0;
    uint64_t size = 0;  // these two as the file system needs them
    uint64_t written = 0;
};

// Which entry leads to a folder: one of this name in that parent. No entry leads to the root.
struct Way {
    uint64_t parent = 0;  // its place
    uint64_t name = 0;    // HashOfName; 0 for the root

    bool operator==(const Way &other) const { return parent == other.parent && name == other.name; }
};

// Never 0. Where two names of one folder have the same hash the first is meant by both; a file
// system that is not made to deceive has no such pair.
uint64_t HashOfName(std::string_view name);

struct FolderEntry {
    std::string name;
    Node node;
};

class FolderReader {
public:
    virtual ~FolderReader() = default;
    // The next entry that is to be shown; "." and ".." are not.
    virtual VolumeListing::Step Next(FolderEntry *entry) = 0;
    // Everything but the name of the entry that Next has given last.
    virtual void Describe(VolumeFindData *record) const = 0;
    // Whether entries are missing among those that Next has given.
    virtual VolumeListingReport Report() const { return {}; }
};

class FileSystem {
public:
    virtual ~FileSystem() = default;
    virtual Node Root() const = 0;
    // Null for what is no folder, one that may not be followed, or one to which another way leads:
    // a folder opens by one way only, so that folders always form a tree.
    virtual std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const = 0;
    // Null for what is no file, or one whose data lies elsewhere.
    virtual std::unique_ptr<VolumeFile> OpenFile(const Node &file) const = 0;
    // What stands in the way of exporting the entry; report is as it was made where nothing does.
    virtual void Describe(const Node &, VolumeEntryReport *) const {}
};

}  // namespace vx
