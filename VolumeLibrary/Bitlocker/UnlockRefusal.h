// Why a secret does not open a volume, so that the user finds the right one: which protectors it
// was tried on, by kind and by the eight digits that Windows shows, and what else opens the volume.
#pragma once

#include "MetadataBlock.h"
#include "Secret.h"

namespace vx::bitlocker {

// leftOut: how many keys of the secret were not tried (StretchPlan.h). Errors: kWrongSecret,
// kNoProtectorOfKind, kUnsupportedProtector. With a startup key of another volume the detail names
// the file that this one needs. Never with a key.
Error UnlockRefusal(const std::vector<MetadataBlock> &copies, const Secret &secret,
                    size_t leftOut = 0);

}  // namespace vx::bitlocker
