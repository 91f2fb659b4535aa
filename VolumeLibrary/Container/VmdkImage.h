// VMDK images: one file that grows, or a text that names the files that hold the disk.
//
// The text may name regular files in its own folder. A path to elsewhere, a link, a FIFO or a
// device is refused by name and not opened, so that a text of unknown origin can neither block the
// program nor make it read other files. A file that grows may be named once only. A snapshot is
// refused with the name of its parent, since what it does not hold itself would read as zeros.
//
// Memory: at most 1 MiB of the text and 4096 extents. Only some of its files are open at a time
// (FilePool.h).
#pragma once

#include "Container.h"

#include <functional>

namespace vx {

// Opens a file that the text names.
using VmdkPartOpener =
    std::function<Result<std::shared_ptr<const ByteSource>>(const std::string &name)>;

// Opens the files beside the image of this path, under the rules above.
VmdkPartOpener VmdkPartsBeside(const std::string &path, uint32_t retries);

// name: of the file, for messages. A note names each file of which a part of the disk is missing;
// reading that part fails. Errors: kTruncatedImage with the name of a file that is missing or too
// short to read anything of it; kUnsupportedContainer; kDamagedContainer; kSystemError.
Result<Container> OpenVmdk(const std::string &name, const std::shared_ptr<const ByteSource> &file,
                           const VmdkPartOpener &openPart);

}  // namespace vx
