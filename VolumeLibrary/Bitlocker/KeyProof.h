// Whether a key of sectors that nothing authenticates shows itself to be right: something of a file
// system comes out of a sector that is stored encrypted.
#pragma once

#include "DecryptedVolume.h"

namespace vx::bitlocker {

// Looked at are the first sector, of NTFS also its backup in the last one and the first record of
// its table of files. False proves nothing: they may be damaged.
bool IsKeyProven(const DecryptedVolume &volume);

}  // namespace vx::bitlocker
