// Uses a file system as the user of a volume could, up to a number of steps.
#pragma once

#include "FileSystem.h"

#include <memory>

namespace vx {

// Lists the folders, opens the files and reads them from start to end and far beyond it.
void VisitVolume(std::unique_ptr<FileSystem> fileSystem);

}  // namespace vx
