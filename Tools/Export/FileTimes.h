// Gives a file or folder of this machine the times of an entry of a volume.
//
// Times are 100 ns since 1601-01-01 00:00 UTC (Microsoft Learn, "FILETIME structure"); 0 is none,
// and leaves what the file has. A file system that keeps fewer digits, or a shorter range, keeps
// what it can: that is no error. Threads: any. Errors: an errno, 0 for none.
#pragma once

#include "ExportPlan.h"
#include "UnixTime.h"

#include <ctime>

namespace vx {

// Modification and access. file: open, for writing if it is no folder.
int SetTimes(int file, const PlanEntry &entry);

// Where the system can set it; elsewhere it does nothing.
int SetCreationTime(int file, timespec created);

}  // namespace vx
