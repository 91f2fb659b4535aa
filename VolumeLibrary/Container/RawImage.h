// Raw images: a copy of a disk, byte by byte, in one file or split into several.
#pragma once

#include "Container.h"
#include "PartNames.h"

namespace vx {

// One file or device. adviceForPermission: the detail of the error if this user may not read it.
Result<std::shared_ptr<const ByteSource>> OpenRaw(const std::string &path,
                                                  const std::string &adviceForPermission);

// The parts up to the first gap, which a note reports; nothing after it is read, since it would lie
// in the wrong place. Errors: kSystemError; kTruncatedImage if a part is shorter than the first one
// and is not the last.
Result<Container> OpenSplit(const PartNames &names);

}  // namespace vx
