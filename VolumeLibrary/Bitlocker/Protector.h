// A key protector: one stored copy of the volume master key, wrapped by something the user has.
#pragma once

#include "Guid.h"
#include "MetadataEntries.h"
#include "WrappedKey.h"

#include <array>
#include <string>

namespace vx::bitlocker {

enum class ProtectorKind : uint16_t {
    ClearKey = 0x0000,
    Tpm = 0x0100,
    ExternalKey = 0x0200,  // startup key, recovery key file, automatic unlocking
    TpmAndStartupKey = 0x0300,
    TpmAndPin = 0x0500,
    TpmPinAndStartupKey = 0x0700,
    RecoveryPassword = 0x0800,
    SmartCard = 0x1000,
    Password = 0x2000,
};

using Salt = std::array<uint8_t, 16>;

struct Protector {
    Guid identifier;
    ProtectorKind kind = ProtectorKind::ClearKey;  // any number, not only the named ones
    std::optional<WrappedKey> wrappedMasterKey;
    std::vector<uint8_t> clearKey;  // of a clear-key protector; it lies open on the disk
    std::optional<Salt> salt;       // of a password or recovery password

    // entry: of value type Protector, as parseEntries gives it.
    static Protector parse(const MetadataEntry &entry);
};

// "password", "TPM and PIN", "unknown kind 0x4000"
std::string protectorKindName(ProtectorKind kind);
// Whether this library can use a protector of the kind.
bool isSupported(ProtectorKind kind);
// The names of all kinds present, each once: "password, recovery password"; "none".
std::string protectorKindNames(const std::vector<Protector> &protectors);
// Every protector, each once, so that a person finds the paper or the file that belongs to it:
// "recovery password (Key ID 1A2B3C4D), startup key (Key ID 5E6F7A8B)"; "none". Of a volume that
// claims more than kMostNamed the others are counted.
constexpr size_t kMostNamed = 24;
std::string protectorList(const std::vector<Protector> &protectors);

}  // namespace vx::bitlocker
