// What a disk and its volumes are, in words.
//
// Threads: any. Texts are UTF-8, several lines where it says so.
#pragma once

#include "UnlockChoices.h"
#include "VolumeFacts.h"
#include "Wording.h"

#include <string>

namespace vx {

// For a list of volumes: "2: NTFS "Data", 60.0 GiB", with the number of an address.
std::string VolumeTitle(const VolumeFacts &volume, const Wording &wording);

// Lines: kind, method and size; state; what Windows noted.
std::string VolumeSummary(const VolumeFacts &volume, const Wording &wording);

// Why nothing here opens it, or nothing may; empty if something does.
std::string ClosedReason(const VolumeFacts &volume, const Wording &wording);
// Lines of volume-info about it, in English; empty if it opens.
std::string ClosedDetail(const VolumeFacts &volume);

// "Recovery key (1A2B3C4D)"
std::string ChoiceTitle(const UnlockChoice &choice, const Wording &wording);

}  // namespace vx
