// VHDX images: fixed, dynamic and differencing.
//
// Format: "[MS-VHDX]: Virtual Hard Disk v2 (VHDX) File Format", Microsoft. What was not written any
// more when its last program ended is taken from its log (VhdxLog.h). Of the two headers and the
// two tables of regions one of each must be valid. The parent of a differencing image must be a
// VHDX image with the identifier that the child names, and with sectors of the same size.
//
// Memory: that of VhdxLog.h, VhdxTable.h and VhdxMetadata.h; the table of blocks is not kept.
#pragma once

#include "Container.h"
#include "ParentImage.h"
#include "VhdxHeader.h"

namespace vx {

// The files of the container are those of the parents. Errors: kTruncatedImage if the file ends
// before its tables do, or its log knows it to be longer; kDamagedContainer;
// kUnsupportedContainer; those of the file's reads and of the parent.
Result<Container> OpenVhdx(const std::shared_ptr<const ByteSource> &file,
                           const ParentOpener &openParent);

}  // namespace vx
