// Files that are larger than a file may be in the destination: named before anything is copied, and
// not begun.
//
// Threads: main, but for the reason.
#pragma once

#include "DestinationTraits.h"
#include "ExportPlan.h"
#include "VolumeReports.h"

#include <string>

namespace vx {

// Names them on standard error; all of them if verbose, the first ones otherwise.
void NameTooLargeFiles(const ExportPlan &plan, const VolumeReports &reports,
                       const DestinationTraits &traits, bool verbose);

// Why one of them has no copy; follows a colon.
std::string ReasonTooLarge(const DestinationTraits &traits);

}  // namespace vx
