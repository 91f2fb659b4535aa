// VMDK images: one file that grows, or a text that names the files which hold the disk.
//
// What the text may name: a regular file in the folder of the text. A path to elsewhere, a link, a
// FIFO or a device is refused with its name before it is opened, so that a text from an unknown
// hand makes nobody wait and reads nothing that was not given with it. A file that grows may be
// named once only. A snapshot is refused with the name of its parent, since what it does not hold
// itself would read as zeros.
//
// Memory: of the text 1 MiB at most, and 4096 extents. Of its files only some are open at a time
// (FilePool.h).
#pragma once

#include "ByteSource.h"
#include "Error.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vx {

struct VmdkImage {
    std::shared_ptr<const ByteSource> disk;
    // A line for each file of which a part of the disk is missing; reading that part fails.
    std::vector<std::string> notes;
};

using VmdkPartOpener =
    std::function<Error(const std::string &name, std::shared_ptr<const ByteSource> *part)>;

// What opens the parts that lie beside the image of this path, as is said above.
VmdkPartOpener VmdkPartsBeside(const std::string &path);

// name: of the file, for messages. Errors: kImageTruncated with the file named if one is missing or
// ends so early that nothing can be read, kPermissionDenied, kContainerNotSupported, kReadFailed.
Error OpenVmdk(const std::string &name, const std::shared_ptr<const ByteSource> &file,
               const VmdkPartOpener &openPart, VmdkImage *image);

}  // namespace vx
