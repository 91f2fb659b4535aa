// What the user offers to open a volume, already checked and reduced to what unlocking needs.
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
    static Secret none() { return Secret(); }
    // Any UTF-8 text, as it was typed. Errors: MalformedSecret.
    static Result<Secret> password(std::string_view utf8);
    // 48 digits with or without dashes or spaces, of any kind. Errors: MalformedSecret with the
    // group.
    static Result<Secret> recoveryPassword(std::string_view text);
    // The contents of a startup key file. Errors: MalformedSecret.
    static Result<Secret> startupKey(ByteView file);
    // The path of one. Errors: MalformedSecret, SystemError.
    static Result<Secret> startupKeyFile(const std::string &path);

    // The protectors it fits; ClearKey for none().
    ProtectorKind kind() const { return _kind; }
    bool isStretched() const;
    // 32 bytes: what is stretched, or the key itself for a startup key.
    ByteView key() const { return _key.view(); }
    // The protector that a startup key names.
    const Guid &protector() const { return _protector; }

private:
    Secret() = default;
    static Result<Secret> fromKeyFile(Result<StartupKeyFile> file);
    Secret(ProtectorKind kind, KeyMaterial key) : _kind(kind), _key(std::move(key)) {}

    ProtectorKind _kind = ProtectorKind::ClearKey;
    KeyMaterial _key;
    Guid _protector;
};

}  // namespace vx::bitlocker
