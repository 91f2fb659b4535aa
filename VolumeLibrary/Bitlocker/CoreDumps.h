// Keeps keys out of core dumps, if the platform can.
#pragma once

#include <cstddef>

namespace vx::bitlocker {

// Leaves whole pages out of core dumps. Does nothing if the platform cannot do that.
void LeaveOutOfCoreDumps(void *pages, size_t size);

// Asks for no core dump of this process at all. The ciphers' key schedules lie in libcrypto's
// own memory, which cannot be left out piece by piece, so VolumeOpener calls this before it
// has the first key. Programs that this one starts may dump theirs, except on macOS, where they
// inherit the limit and may raise it again. On Linux no debugger of the same user can attach
// afterwards. The process can undo it.
void ForbidCoreDumps();

}  // namespace vx::bitlocker
