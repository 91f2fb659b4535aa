#include "SigPipeSilence.h"

namespace vx {

// The signal goes to the writing thread, where SigPipeBlock holds it.
void SilenceSigPipe(int) {}

}  // namespace vx
