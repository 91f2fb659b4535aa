// The private channel between a host and the volume library in a child process: a connected stream
// socket that the child inherits. The host writes one opening, with the secret, before it starts
// the child. The library answers with reports until either end is closed.
//
// On the wire a message is a number of its type and the length of its body, 32 bits each, little
// endian, and the body: numbers, and texts after their lengths (docs/channel.md). Messages of
// unknown types are skipped; what is malformed, too long or out of order ends the channel, never
// the process. ChannelOpened comes once; ChannelProgress only before it, ChannelDamage and, once,
// ChannelMasterKey only after it, ChannelLoss at any time. ChannelFarewell comes once, after
// ChannelOpened; without it the reports are not known to be complete.
//
// Texts are UTF-8 without zeros. Those of a report come from a process that reads hostile disks:
// they may hold line ends and whatever else a name can have. Units: bytes.
#pragma once

#include "ByteRange.h"
#include "ProtectedBytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace vx {

// The second text of the library's entry if the third is the number of such a descriptor: the
// opening comes over it. The first text is not used then.
constexpr char kChannelUnlockKind[] = "host-channel";

constexpr size_t kMostChannelText = 4096;        // of the volume, the kind and the secret each
constexpr size_t kMostChannelBody = 256 << 10;   // of one message; longer lists are cut
constexpr size_t kMostChannelDetail = 64 << 10;  // of ChannelOpened; longer ones are cut
constexpr size_t kMostChannelPath = 128 << 10;
constexpr size_t kMostChannelKey = 64;

// What the library is to open. Borrowed.
struct ChannelOpening {
    const char *volume = "";
    const char *kind = "none";
    const char *secret = "";
};

// How far a long opening is, as VolumeOpeningProgressFunction has it.
struct ChannelProgress {
    uint32_t step = 0;
    uint64_t done = 0;
    uint64_t total = 0;
    uint32_t seconds = 0;
};

// The opening has ended. detail: as VolumeLibraryLastErrorFunction has it.
struct ChannelOpened {
    int32_t status = 0;
    std::string detail;
};

enum class ChannelDamageKind : uint32_t {
    kFileData = 1,    // ranges of the file were given as zeros; without ranges its records are bad
    kFileClosed = 2,  // the file could not be opened at all
    kFolder = 3,      // entries of the folder are missing
    kDiskGone = 4,    // the disk or image went away; without a path
};

// What the volume did not give. A file is reported when it is closed, once for each way in which it
// was read, or when the process ends.
struct ChannelDamage {
    ChannelDamageKind kind = ChannelDamageKind::kFileData;
    uint32_t obstacle = 0;  // a VolumeObstacle; 0 if the reason is not known
    std::string path;       // "/folder/file", "/file:stream"; the disk's bytes, which need not be
                            // valid UTF-8
    ByteRanges ranges;      // of the file
    uint64_t more = 0;      // ranges beyond those that a message can hold; of a folder, entries
                            // that are missing, as far as known
};

// So many reports were dropped, because the host did not read them.
struct ChannelLoss {
    uint64_t count = 0;
};

// The process ends, and all that was known has been reported. What other threads notice while it
// ends may still follow.
struct ChannelFarewell {};

// The volume master key, as VolumeLibraryVisitMasterKeyFunction has it: with it the same volume is
// opened again without deriving its key.
struct ChannelMasterKey {
    ProtectedBytes key;

    // As the kind of unlock "vmk" takes it, with a zero at the end.
    ProtectedBytes Digits() const;
};

using ChannelReport = std::variant<ChannelProgress, ChannelOpened, ChannelDamage, ChannelLoss,
                                   ChannelMasterKey, ChannelFarewell>;

}  // namespace vx
