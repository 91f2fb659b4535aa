// Why a volume stays shut, as a sentence for the user: the key of a translated text.
#pragma once

#include "UnlockChoices.h"

#include <cstdint>

namespace vx {

// status: a VolumeLibraryStatus; 0 if there was no answer. Never null.
const char *OpeningReason(int32_t status, SecretKind kind);

}  // namespace vx
