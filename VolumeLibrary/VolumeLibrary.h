// The library's entry, the only symbol that it exports. Callers look it up at run time by its
// name (see OpenBitlockerDeviceFunction in IVolume.h); the statuses and the meaning of the three
// texts are in VolumeLibraryStatus.h.
//
// Ownership: an opened volume belongs to the library and stays until the process ends.
// Threads: may be called on several threads. Nothing is thrown.
#pragma once

#include <cstdint>

class IVolume;

// volume receives the opened volume, or null together with a status other than 0.
extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *device, const char *unlockKind, const char *secret,
                      IVolume **volume) noexcept;
