#include "OpenFiles.h"

#include "LocalFileOpening.h"

namespace vx {

bool IsOpenHere(const struct stat &file)
{
    return IsOpenInThisProcess(file);
}

}  // namespace vx
