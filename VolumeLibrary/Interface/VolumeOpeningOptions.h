// What a program says to the volume library before it opens a volume: how a failing disk is read,
// what of an encrypted volume is wanted, and who hears how far an opening is. For every program
// that loads the library; the function is optional, as those of VolumeReport.h.
//
// Threads: the options concern the openings of the calling thread. Units: bytes, milliseconds.
#pragma once

#include "ByteRange.h"

#include <cstdint>

enum class VolumeOpeningStep : uint32_t {
    kTryingSecrets = 1,  // several secrets in turn: done and total count them
    kSearching = 2,      // a disk for lost metadata: done and total are bytes
    // Before kTryingSecrets, once: a key ring has more files or keys than are read; total counts
    // the keys that were.
    kKeysLeftOut = 3,
};

// Called on the opening thread, several times a second at most, and first before the step begins.
// seconds: what the whole step takes, by what was measured so far; 0 if that is not known.
using VolumeOpeningProgressFunction = void (*)(void *context, VolumeOpeningStep step, uint64_t done,
                                               uint64_t total, uint32_t seconds);

// The path of the only file of a volume that was opened for its contents.
constexpr char16_t kVolumeContentsPath[] = u"/volume.img";

struct VolumeOpeningOptions {
    // The most ranges that unread may have: 64 MiB of them.
    static constexpr uint64_t kMostRanges = (uint64_t{64} << 20) / sizeof(vx::ByteRange);

    // Versions of this structure are told apart by its size.
    uint32_t bytes = sizeof(VolumeOpeningOptions);
    // How often a sector that cannot be read is tried again. If it is, no sector is given up
    // without being tried.
    uint32_t retries = 0;
    // After a read that took longer the following area is given up without being tried: 64 KiB,
    // and more if what comes after it is slow too. 0: none is. A read that never returns cannot be
    // interrupted.
    uint32_t slowMilliseconds = 0;
    // Whether VolumeLibraryVisitTablesReadFunction shall have an answer. 0: no.
    uint32_t recordsReads = 0;
    // What is never read of the disk: sorted ranges that do not overlap, none of them empty. Files
    // have zeros there. With these or recordsReads only disks and raw images open, whole or in
    // parts (kPlacesNotKept otherwise).
    const vx::ByteRange *unread = nullptr;
    uint64_t unreadCount = 0;
    // Whether the volume is opened for its contents: its only file, kVolumeContentsPath, has every
    // byte of the volume, decrypted, whatever file system is in it. 0: no.
    uint32_t opensContents = 0;
    // Whether VolumeLibraryVisitRecoveryPasswordsFunction shall have an answer. 0: no.
    uint32_t keepsRecoveryPasswords = 0;
    VolumeOpeningProgressFunction progress = nullptr;
    void *progressContext = nullptr;
    // Whether the volume is unlocked and nothing more: what it answers is how it was unlocked and
    // its recovery passwords. It has no file system, and so need not have one that can be read, nor
    // a sound record of which part of it is encrypted if its master key was had. 0: no.
    uint32_t unlocksOnly = 0;
    // Whether VolumeLibraryVisitMasterKeyFunction shall have an answer. 0: no.
    uint32_t keepsMasterKey = 0;
};

// "volume_library_set_opening_options". Concerns all later openings on the calling thread, until it
// is called again; null for none of it. The ranges are copied. False, and nothing changes, if
// the library does not know this version of the structure, the ranges are not as described, or
// there is no memory.
using VolumeLibrarySetOpeningOptionsFunction = bool (*)(const VolumeOpeningOptions *options);
