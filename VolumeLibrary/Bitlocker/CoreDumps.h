// Keeping keys out of core dumps, as far as the platform can.
#pragma once

#include <cstddef>

namespace vx::bitlocker {

// Whole pages that no core dump shall contain. Does nothing where the platform cannot do that.
void LeaveOutOfCoreDumps(void *pages, size_t size);

// Asks for no core dump of this process at all. The ciphers' key schedules lie in libcrypto's
// own memory, which cannot be left out piece by piece, so VolumeOpener calls this before it
// has the first key. Programs that this one starts may dump theirs, except on macOS, where they
// inherit the limit and may raise it again. On Linux no debugger of the same user can attach
// afterwards. It holds until someone in the process says otherwise.
void ForbidCoreDumps();

}  // namespace vx::bitlocker
