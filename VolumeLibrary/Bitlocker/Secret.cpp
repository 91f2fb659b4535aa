#include "Secret.h"

#include "RecoveryPassword.h"
#include "Sha256.h"
#include "StartupKeyFile.h"
#include "Utf16.h"

namespace vx::bitlocker {

namespace {

KeyMaterial hashOf(ByteView bytes)
{
    KeyMaterial digest(sizeof(Sha256Digest));
    sha256(bytes, digest.data());
    return digest;
}

}  // namespace

Result<Secret> Secret::password(std::string_view utf8)
{
    const std::optional<KeyMaterial> units = utf16FromUtf8(utf8);
    if (!units)
        return Error{Status::MalformedSecret, "the password is not valid UTF-8"};
    return Secret(ProtectorKind::Password, hashOf(hashOf(units->view()).view()));
}

Result<Secret> Secret::recoveryPassword(std::string_view text)
{
    const Result<KeyMaterial> bytes = parseRecoveryPassword(text);
    if (!bytes)
        return bytes.error();
    return Secret(ProtectorKind::RecoveryPassword, hashOf(bytes->view()));
}

Result<Secret> Secret::startupKey(ByteView file)
{
    return fromKeyFile(StartupKeyFile::parse(file));
}

Result<Secret> Secret::startupKeyFile(const std::string &path)
{
    return fromKeyFile(StartupKeyFile::read(path));
}

Result<Secret> Secret::fromKeyFile(Result<StartupKeyFile> file)
{
    if (!file)
        return file.error();
    Secret secret(ProtectorKind::ExternalKey, std::move(file->key));
    secret._protector = file->identifier;
    return secret;
}

bool Secret::isStretched() const
{
    return _kind == ProtectorKind::Password || _kind == ProtectorKind::RecoveryPassword;
}

}  // namespace vx::bitlocker
