// Keeping keys out of core dumps, as far as the platform can.
#pragma once

#include <cstddef>

namespace vx::bitlocker {

// Whole pages that no core dump shall contain. Does nothing where the platform cannot do that.
void leaveOutOfCoreDumps(void *pages, size_t size);

// Asks for no core dump of this process at all. The ciphers' key schedules lie in libcrypto's
// own memory, which cannot be left out piece by piece, so a program that opens an encrypted
// volume calls this once before. On Linux no debugger of the same user can attach afterwards.
void forbidCoreDumps();

}  // namespace vx::bitlocker
