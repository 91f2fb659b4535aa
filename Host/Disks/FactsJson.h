// The report of "volume-info --json" as facts. docs/info.md says what the report holds.
//
// The report comes from a program that has read a hostile disk: what has the wrong type is left
// empty, and lists that are nested too deeply are dropped while they are read.
// Threads: any.
#pragma once

#include "VolumeFacts.h"

#include <string>

namespace vx {

// volume: the path that was described; the addresses of the volumes begin with it. False if the
// text is no report.
bool ReadFactsJson(const std::string &json, const std::string &volume, DiskFacts *facts);

}  // namespace vx
