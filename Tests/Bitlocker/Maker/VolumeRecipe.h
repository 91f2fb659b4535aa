// What an encrypted volume that the tests make shall be like. The defaults give a volume as
// Windows 10 writes it.
#pragma once

#include "BootSector.h"
#include "KeyStretcher.h"
#include "Method.h"
#include "Protector.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vx::bitlocker::maker {

struct ProtectorRecipe {
    ProtectorKind kind = ProtectorKind::kPassword;
    std::string secret;                // password or recovery password
    Guid identifier;                   // zeros: made up
    bool withUnknownProperty = false;  // an unknown property before the ones that count
    bool damaged = false;              // its wrapped key does not authenticate
    bool damagedSecret = false;        // nor does its secret under the master key

    static ProtectorRecipe Password(const std::string &text);
    static ProtectorRecipe Recovery(const std::string &text);
    static ProtectorRecipe ClearKey();
    // The key is StartupKeyOf(identifier).
    static ProtectorRecipe StartupKey(const Guid &identifier);
    static ProtectorRecipe OfKind(ProtectorKind kind);
};

// A conversion that a map describes.
struct ConversionRecipe {
    uint32_t chunkSize = 64 * 1024;
    // Whether the chunk with the byte is encrypted; by default none.
    std::function<bool(uint64_t)> isEncrypted = [](uint64_t) { return false; };
    // A chunk, by its first byte, and how many sectors at its front are encrypted.
    std::optional<uint64_t> interruptedChunk;
    uint64_t interruptedSectors = 0;
    uint32_t direction = 1;  // 0: idle, 1: encrypting, 2: decrypting
    bool withLog = true;
};

struct VolumeRecipe {
    enum class HeaderEntry { kNone, kShort, kLong };

    Layout layout = Layout::kWindows7;
    Method method = Method::kAes128Xts;
    uint32_t sectorSize = 512;
    bool sectorSizeInBootSector = true;
    uint32_t relocatedSectors = 0;  // 0: 8192 bytes; ignored for Vista
    HeaderEntry headerEntry = HeaderEntry::kLong;
    bool sectorKeyFirst = false;  // before the protectors, else after the first
    size_t padding = 0;           // bytes of an unknown entry in front of all others
    std::vector<ProtectorRecipe> protectors;
    uint64_t rounds = KeyStretcher::kRounds;
    // Bytes from the front that are encrypted; none: all.
    std::optional<uint64_t> encryptedSize;
    // Whether the relocated sectors are left plain although encryptedSize lies beyond them, or
    // the other way round.
    bool relocatedOtherwise = false;
    std::optional<ConversionRecipe> conversion;
    uint16_t state = 4;
    uint16_t nextState = 4;
    std::array<uint32_t, 3> nonceCounters = {20, 20, 20};
    // Places; 0: after the plain image, where nothing is lost.
    std::array<uint64_t, 3> copyOffsets{};
    uint64_t relocationOffset = 0;
    std::string description = "TESTHOST C: 1/2/2026";
    uint32_t seed = 1;  // of all keys, nonces and identifiers
};

}  // namespace vx::bitlocker::maker
