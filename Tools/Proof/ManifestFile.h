// Writes a hash list as a whole. Threads: any.
#pragma once

#include "ManifestRecord.h"

#include <functional>
#include <string>

namespace vx {

// The next record of the list; false at its end.
using RecordSource = std::function<bool(ManifestRecord *record)>;

// Replaces the file when the list is complete. False: error says why in one line, and the file is
// what it was.
bool WriteManifest(const std::string &file, const RecordSource &next, std::string *error);

}  // namespace vx
