// The library's entry and the text of its failures, the only symbols that it exports. Callers look
// them up at run time by their names (see OpenBitlockerDeviceFunction in IVolume.h); the statuses,
// the meaning of the three texts and the form of both functions are in VolumeLibraryStatus.h.
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

// What the last opening on the calling thread had to say beyond its status; empty after a
// success. Never null; stays as it is until the next opening on this thread.
extern "C" __attribute__((visibility("default"))) const char *volume_library_last_error() noexcept;
