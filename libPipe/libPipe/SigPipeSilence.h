// Makes a write to a pipe without a reader fail with EPIPE and raise no signal, on platforms where
// a descriptor can carry that. Elsewhere it does nothing, and SigPipeBlock is enough.
#pragma once

namespace vx {

void SilenceSigPipe(int descriptor);

}  // namespace vx
