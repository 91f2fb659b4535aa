// Does with a file system what a user could do with its volume, up to a number of steps.
#pragma once

#include "FileSystem.h"

#include <memory>

namespace vx {

// Lists the folders, opens the files and reads them from front to back and far behind their end.
void VisitVolume(std::unique_ptr<FileSystem> fileSystem);

}  // namespace vx
