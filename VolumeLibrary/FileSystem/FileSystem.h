// A file system as FileSystemVolume uses it: folders that are read once from front to back, and
// files that open by their node. Nothing here knows paths.
//
// To add a file system:
// 1. Give it a folder beside Ntfs/ and Fat/ with a room of its own, and name the room in
//    FileSystem/CMakeLists.txt, Entry/CMakeLists.txt and Tests/Rooms.
// 2. Derive from FileSystem and FolderReader, with a static Open as NtfsFileSystem has it. A file
//    that lies in runs is an ExtentFile, one of a few bytes a ResidentFile; ByteReader parses
//    sectors.
// 3. Let ProbeFileSystem recognise it; its name and size stand there too (FileSystemKind.h).
// 4. Open it in Entry/DiskOpening.cpp and add it to the texts kNothingKnown and kNothingUnlocked.
//    Read its label in Entry/VolumeLabel.cpp.
// 5. If KnownContents.cpp refused it by name so far, take that entry out.
// 6. Add suites below Tests/FileSystem, an image writer in Tests/Support/Image and a fuzz target in
//    Tests/Fuzz/Image.
//
// Ownership: the readers and files borrow the file system. Threads: every operation of
// FileSystem may run on several threads at a time; a reader is used by one thread at a time.
// Text: names are the bytes of Wtf8.h.
// Errors: null, false or kError; an operation may throw std::bad_alloc.
#pragma once

#include "VolumeFile.h"
#include "VolumeListing.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vx {

// Where an entry lies: all that is needed to open it again. Two folders are the same if and only if
// their places are equal.
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

// Never 0. If two names of one folder have the same hash, both mean the first; only a file system
// that was made to deceive has such a pair.
inline uint64_t HashOfName(std::string_view name)
{
    const uint64_t hash = std::hash<std::string_view>()(name);
    return hash != 0 ? hash : 1;
}

struct FolderEntry {
    std::string name;
    Node node;
};

class FolderReader {
public:
    virtual ~FolderReader() = default;
    // The next entry to show; "." and ".." are left out.
    virtual VolumeListing::Step Next(FolderEntry *entry) = 0;
    // Everything but the name of the entry that Next gave last.
    virtual void Describe(VolumeFindData *record) const = 0;
    // Whether entries are missing among those that Next gave.
    virtual VolumeListingReport Report() const { return {}; }
};

class FileSystem {
public:
    virtual ~FileSystem() = default;
    virtual Node Root() const = 0;
    // Null if it is no folder, may not be followed, or belongs to another way: a folder opens by
    // one way only, so that folders always form a tree.
    virtual std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const = 0;
    // Null if it is no file, or its data lies elsewhere.
    virtual std::unique_ptr<VolumeFile> OpenFile(const Node &file) const = 0;
    // What stands in the way of exporting the entry; leaves report alone if nothing does.
    virtual void Describe(const Node &, VolumeEntryReport *) const {}

    // What is known of the file system as a whole; leaves alone what is not known.
    virtual void DescribeWhole(VolumeFileSystemReport *) const {}

    // The streams with names of a file or folder, each once; size: or kUnknownStreamSize.
    using StreamVisitor = std::function<void(const std::string &name, uint64_t size)>;
    // False if streams may be missing among those visited.
    virtual bool VisitStreams(const Node &, const StreamVisitor &) const { return true; }
    // Null if there is no such stream, or nothing of it can be read.
    virtual std::unique_ptr<VolumeFile> OpenStream(const Node &, const std::string &) const
    {
        return nullptr;
    }
};

}  // namespace vx
