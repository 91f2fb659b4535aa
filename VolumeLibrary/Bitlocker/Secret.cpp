#include "Secret.h"

#include "PasswordText.h"
#include "RecoveryPassword.h"
#include "Sha256.h"
#include "StartupKeyFile.h"

namespace vx::bitlocker {

namespace {

KeyMaterial HashOf(ByteView bytes)
{
    KeyMaterial digest(sizeof(Sha256Digest));
    Sha256(bytes, digest.Data());
    return digest;
}

}  // namespace

Result<Secret> Secret::FromPassword(std::string_view utf8)
{
    const std::optional<KeyMaterial> units = Utf16FromUtf8(utf8);
    if (!units)
        return Error{Status::kMalformedSecret, "the password is not valid UTF-8"};
    return Secret(ProtectorKind::kPassword, HashOf(HashOf(units->View()).View()));
}

Result<Secret> Secret::FromRecoveryPassword(std::string_view text)
{
    const Result<KeyMaterial> bytes = ParseRecoveryPassword(text);
    if (!bytes)
        return bytes.Failure();
    return Secret(ProtectorKind::kRecoveryPassword, HashOf(bytes->View()));
}

Result<Secret> Secret::FromStartupKey(ByteView file)
{
    return FromParsed(StartupKeyFile::Parse(file));
}

Result<Secret> Secret::FromStartupKeyFile(const std::string &path)
{
    return FromParsed(StartupKeyFile::Read(path));
}

Result<Secret> Secret::FromParsed(Result<StartupKeyFile> file)
{
    if (!file)
        return file.Failure();
    Secret secret(ProtectorKind::kExternalKey, std::move(file->key));
    secret._protector = file->identifier;
    return secret;
}

bool Secret::IsStretched() const
{
    return _kind == ProtectorKind::kPassword || _kind == ProtectorKind::kRecoveryPassword;
}

}  // namespace vx::bitlocker
