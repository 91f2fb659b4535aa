// Kinds of image files, recognised by their first bytes.
#pragma once

#include "ByteView.h"
#include "KnownContents.h"

namespace vx {

constexpr size_t kContainerProbeBytes = 512;

// What cannot be read, so that it is not taken for a raw image without a file system; null for
// everything else. head: the first kContainerProbeBytes, or fewer if the file is shorter. What
// begins with a boot sector is looked into first, whatever else it resembles.
const KnownContents *UnsupportedContainer(ByteView head);

bool IsEwf(ByteView head);

// Whether the 512 bytes are what a VHD image has at its end, and an image that grows at its front
// too; and whether their checksum fits.
bool IsVhd(ByteView footer);
bool HasSoundVhdFooter(ByteView head);

// Whether it is a file that grows, or a text that names the files of an image.
bool IsVmdk(ByteView head);

}  // namespace vx
