// The parent of an image that holds only what was changed since: a differencing VHDX or VHD, a
// QCOW2 with a backing file.
//
// An image names its parent by paths of the computer that made it. Of these only the file name
// counts: the parent is looked for in the folder of the image, under the rules of FileBeside.h. It
// may have a parent itself. An image that is among its own ancestors, and a chain of more than
// kMostImages, are refused, and so is a file that is not the parent by its identifier.
//
// Ownership: a ParentOpener keeps what it needs. Threads: any. Memory: what each open image of the
// chain has. One that reads tables through a cache must keep it small enough for a chain.
#pragma once

#include "Container.h"
#include "ContainerKind.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vx {

struct ParentWanted {
    static constexpr size_t kMostNames = 16;

    const char *child = "";  // what has it, for messages: "a differencing VHDX image"
    // Paths or names in UTF-8, the most reliable first, with / or \ between their components. The
    // first one of whose file there is something in the folder counts; the rest of kMostNames are
    // not tried.
    std::vector<std::string> names;
    // What it must be. kRaw: it is read byte by byte, whatever it contains. Nothing: what its
    // contents say.
    std::optional<ContainerKind> kind = {};
    // What its Container::identity may be; empty if the format has none.
    std::vector<std::string> identities = {};
    uint64_t diskBytes = 0;  // of the child's disk; 0: any length of the parent's is right
};

// Opens the parent of one certain image. Its notes begin with its name. Errors: kTruncatedImage if
// it is missing, kUnsupportedContainer if it is not named, refused or the wrong one, and all of
// OpenContainer; the detail names the file. One that is shorter than the disk opens, with a note:
// it may be a copy that was cut short, and what is beyond its end reads as zeros.
using ParentOpener = std::function<Result<Container>(const ParentWanted &wanted)>;

// For images that may have no parent, and for tests: every parent is missing.
ParentOpener NoParents();

class ParentImage {
public:
    static constexpr size_t kMostImages = 64;  // of a chain, with the image that was given

    // Opens the image at a path as the given kind, or if there is none, as what it is; parents
    // opens the parent of that image.
    using Opener = std::function<Result<Container>(
        const std::string &path, std::optional<ContainerKind> kind, const ParentOpener &parents)>;

    // For the image at this path, which is itself no one's parent.
    static ParentOpener Beside(const std::string &path, Opener open);

    // "parent.vhdx" for "C:\\disks\\parent.vhdx" and "../disks/parent.vhdx".
    static std::string FileName(const std::string &path);
};

}  // namespace vx
