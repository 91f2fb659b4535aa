// A key protector: one stored copy of the volume master key, wrapped by something the user has.
#pragma once

#include "Guid.h"
#include "MetadataEntries.h"
#include "WrappedKey.h"

#include <array>
#include <string>

namespace vx::bitlocker {

enum class ProtectorKind : uint16_t {
    kClearKey = 0x0000,
    kTpm = 0x0100,
    kExternalKey = 0x0200,  // startup key, recovery key file, automatic unlocking
    kTpmAndStartupKey = 0x0300,
    kTpmAndPin = 0x0500,
    kTpmPinAndStartupKey = 0x0700,
    kRecoveryPassword = 0x0800,
    kSmartCard = 0x1000,
    kPassword = 0x2000,
};

using Salt = std::array<uint8_t, 16>;

struct Protector {
    Guid identifier;
    uint64_t changed = 0;                           // in 100 ns since 1601-01-01 UTC
    ProtectorKind kind = ProtectorKind::kClearKey;  // any number, not only the named ones
    std::optional<WrappedKey> wrappedMasterKey;
    std::vector<uint8_t> clearKey;  // of a clear-key protector; it lies open on the disk
    std::optional<Salt> salt;       // of a password or recovery password
    // Wrapped under the master key: what the secret is stretched from, and the outcome.
    std::vector<WrappedKey> wrappedSecrets;

    // entry: of value type Protector, from ParseEntries.
    static Protector Parse(const MetadataEntry &entry);
};

// For programs, in names that never change: "password", "tpm-and-pin"; "other" of an unknown kind.
const char *ProtectorKindToken(ProtectorKind kind);
// "password", "TPM and PIN", "unknown kind 0x4000"
std::string ProtectorKindName(ProtectorKind kind);
// Whether its key is stretched: passwords and recovery passwords.
bool IsStretched(ProtectorKind kind);
// Whether this library can use a protector of the kind.
bool IsSupported(ProtectorKind kind);
// Every protector, each once, so that the user finds the printout or the file that belongs to it:
// "recovery password (Key ID 1A2B3C4D), startup key (Key ID 5E6F7A8B)"; "none". Of a volume that
// claims more than kMostNamed the others are counted.
constexpr size_t kMostNamed = 24;
std::string ProtectorList(const std::vector<Protector> &protectors);

}  // namespace vx::bitlocker
