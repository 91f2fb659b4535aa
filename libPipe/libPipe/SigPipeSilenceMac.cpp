#include "SigPipeSilence.h"

#include <fcntl.h>

namespace vx {

// The signal goes to the process, and blocking it in the writing thread would not hold it back.
void SilenceSigPipe(int descriptor)
{
    fcntl(descriptor, F_SETNOSIGPIPE, 1);
}

}  // namespace vx
