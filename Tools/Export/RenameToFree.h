// Gives a file of an open folder another name there, if nothing has that name. One step: of two
// callers that want the name, one gets it.
//
// Threads: any. 0, EEXIST if the name is taken, ENOTSUP where the system or the file system has no
// such step, or another errno.
#pragma once

namespace vx {

int RenameToFree(int folder, const char *name, const char *freeName);

}  // namespace vx
