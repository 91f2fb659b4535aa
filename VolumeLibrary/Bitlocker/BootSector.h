// The first 512 bytes of a BitLocker volume: which layout it has and where its metadata is.
//
// Everything else in this sector imitates a FAT32 boot sector and is not used.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"
#include "Error.h"

#include <array>
#include <vector>

namespace vx::bitlocker {

enum class Layout {
    kVista,     // Windows Vista: metadata version 1, nothing relocated
    kWindows7,  // Windows 7 and later
    kToGo,      // BitLocker To Go on a FAT volume
};

struct BootSector {
    static constexpr size_t kSize = 512;

    Layout layout = Layout::kWindows7;
    bool converting = false;  // a conversion map is in force
    // 512, 1024, 2048 or 4096; 0 when the sector does not say.
    uint32_t sectorSize = 0;
    // Not checked against the size of the device. One for Vista, else three.
    std::vector<uint64_t> metadataOffsets;
    // The two copies of the conversion information; zeros when there are none.
    std::array<uint64_t, 2> conversionOffsets{};

    // Errors: kNotBitlocker.
    static Result<BootSector> Parse(ByteView bytes);
    // That of the volume. Errors: of reading too.
    static Result<BootSector> Read(const ByteSource &volume);

    // Whether most of the signature or a whole identifier is where that of such a volume is, though
    // it may not parse.
    static bool Resembles(ByteView bytes);

    bool NamesEveryCopy() const;
};

}  // namespace vx::bitlocker
