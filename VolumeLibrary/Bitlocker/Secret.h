// The user's secret, checked and reduced to what unlocking needs.
//
// The text that was given is not kept. Move-only; wiped with its owner.
#pragma once

#include "Error.h"
#include "Guid.h"
#include "KeyMaterial.h"
#include "Protector.h"

#include <string_view>

namespace vx::bitlocker {

struct StartupKeyFile;

class Secret {
public:
    // Nothing: opens suspended (clear key) and decrypted volumes.
    static Secret None() { return Secret(); }
    // Any UTF-8 text, as it was typed. Errors: kMalformedSecret.
    static Result<Secret> FromPassword(std::string_view utf8);
    // 48 digits with or without dashes or spaces, of any kind. Errors: kMalformedSecret with the
    // group.
    static Result<Secret> FromRecoveryPassword(std::string_view text);
    // The contents of a startup key file. Errors: kMalformedSecret.
    static Result<Secret> FromStartupKey(ByteView file);
    // The path of one. Errors: kMalformedSecret, kSystemError.
    static Result<Secret> FromStartupKeyFile(const std::string &path);

    // The protectors it fits; kClearKey for None().
    ProtectorKind Kind() const { return _kind; }
    bool IsStretched() const;
    // 32 bytes: what is stretched, or the key itself for a startup key.
    ByteView Key() const { return _key.View(); }
    // The protector that a startup key names.
    const Guid &Protector() const { return _protector; }

private:
    Secret() = default;
    static Result<Secret> FromParsed(Result<StartupKeyFile> file);
    Secret(ProtectorKind kind, KeyMaterial key) : _kind(kind), _key(std::move(key)) {}

    ProtectorKind _kind = ProtectorKind::kClearKey;
    KeyMaterial _key;
    Guid _protector;
};

}  // namespace vx::bitlocker
