// Copies the files of a plan with several threads. Each has a FileCopier of its own and takes files
// from one cursor until there are no more, or the export must stop.
//
// Threads: CopyFiles on one thread, which waits for the others; where the system starts none, it
// copies the files itself.
#pragma once

#include "CopyJob.h"

#include <cstddef>

namespace vx {

// files: of the plan. Returns when no worker is left.
void CopyFiles(CopyJob &job, int64_t files);

}  // namespace vx
