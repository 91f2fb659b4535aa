// Opens the file or device that holds a disk or a volume, read-only.
//
// To add a container:
// 1. ContainerKind.h: an enumerator, and in FindContainerKind how it is recognised.
// 2. A header like VhdImage.h with a function that opens it and returns a Container.
// 3. Container.cpp: its case in the switch of OpenFile.
// 4. Tests/Support/Image: a writer of such images; Tests/Container: tests; Tests/Fuzz/Image: a fuzz
//    target.
// An image is not trusted: check every number against the size of its file before use, and allocate
// no memory by it without a limit.
#pragma once

#include "ByteSource.h"
#include "Error.h"
#include "ReadingLimits.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct Container {
    std::shared_ptr<const ByteSource> source;
    std::vector<std::string> notes = {};  // damage that did not prevent opening, a line each
    // Of the disk, in ascending order: what cannot be read, since the image contradicts itself
    // there, and why. The source fails there too, but no more precisely than for a bad sector.
    ByteRanges inDoubt = {};
    const char *doubt = "";
    // The name of the first part if the file seems to be a later one. It opens nevertheless, since
    // a name proves nothing.
    std::string firstPart = {};
    // The paths of its files. For a VMDK image only the one that was given, without the files that
    // its text names.
    std::vector<std::string> files = {};
    // "an E01 image" of one that does not keep the disk byte by byte; null for a disk and a raw
    // image, whole or in parts.
    const char *form = nullptr;
    // For programs, a name that never changes: "device", "raw", "split", "e01", "s01", "vhd",
    // "vmdk", "qcow2", "vdi".
    const char *kind = "raw";
    std::string description = "a raw image";  // in words: "a dynamic VHD image"
    uint32_t sectorBytes = 0;                 // a logical sector of its disk; 0 if nothing says so
    // By which a child recognises it as its parent, in a form of its format; empty if it has none.
    std::string identity = {};
};

// Errors: kSystemError, with advice if permission is missing; kNotAVolume for what is neither a
// file nor a disk device; kUnsupportedContainer; kTruncatedImage if the image ends early or lacks a
// part; kDamagedContainer.
//
// retries: ReadingLimits'; how often what cannot be read of the tables of an image is tried again
// (RememberingSource.h).
Result<Container> OpenContainer(const std::string &path, uint32_t retries = 0);

// With what is in doubt added to what is never read.
ReadingLimits LimitsFor(const Container &container, ReadingLimits limits);

}  // namespace vx
