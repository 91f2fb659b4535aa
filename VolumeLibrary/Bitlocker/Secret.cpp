#include "Secret.h"

#include "HexText.h"
#include "KeyCollection.h"
#include "KeyFile.h"
#include "PasswordText.h"
#include "RecoveryPassword.h"
#include "Sha256.h"
#include "StartupKeyFile.h"

#include <algorithm>
#include <sys/stat.h>

namespace vx::bitlocker {

namespace {

constexpr size_t kMasterKeyBytes = 32;

KeyMaterial HashOf(ByteView bytes)
{
    KeyMaterial digest(sizeof(Sha256Digest));
    Sha256(bytes, digest.Data());
    return digest;
}

Error Malformed(const std::string &detail)
{
    return {Status::kMalformedSecret, detail};
}

// What cannot be read is what was named, not the volume.
Error About(const std::string &what, Error error)
{
    if (error.status == Status::kSystemError)
        error.detail = what + (error.detail.empty() ? "" : ": " + error.detail);
    return error;
}

bool IsThere(const char *path)
{
    struct stat status;
    return ::stat(path, &status) == 0;
}

// The digits themselves in place of the path of a file that has them. They must not get into a
// message.
bool IsRecoveryPassword(std::string_view text)
{
    constexpr ptrdiff_t kFewDigits = 30;
    return std::count_if(text.begin(), text.end(),
                         [](char sign) { return sign >= '0' && sign <= '9'; }) > kFewDigits &&
           text.find('/') == text.npos;
}

// The same of a raw key; the name of a startup key file has half as many digits.
bool IsRawKey(std::string_view text)
{
    constexpr size_t kManyDigits = 60;
    return CountHexDigits(text) >= kManyDigits && text.find('/') == text.npos;
}

Error CheckPath(const char *path)
{
    if (IsThere(path))
        return {};
    if (IsRecoveryPassword(path))
        return Malformed("this looks like a recovery password; give it with the kind \"recovery\"");
    if (IsRawKey(path))
        return Malformed("this looks like a key in hexadecimal digits; give it with the kind "
                         "\"vmk\" or \"fvek\"");
    return {};
}

// A mistyped key rather than the path of a file.
bool LooksTyped(const char *given)
{
    constexpr size_t kFewDigits = 16;
    const std::string_view text = given;
    const size_t digits = CountHexDigits(text);
    const bool isKey = digits >= kFewDigits || (digits > 0 && IsHexText(text));
    return isKey && text.find('/') == text.npos && !IsThere(given);
}

Result<KeyMaterial> MasterKeyFromText(std::string_view text)
{
    std::optional<KeyMaterial> bytes = BytesFromHex(text);
    if (bytes && bytes->Size() == kMasterKeyBytes)
        return std::move(*bytes);
    return Malformed("a master key has 64 hexadecimal digits, and this one has " +
                     HexDigitsText(text));
}

Result<KeyMaterial> MasterKeyFromFile(ByteView file)
{
    const std::string_view text(reinterpret_cast<const char *>(file.data), file.size);
    Result<KeyMaterial> written = MasterKeyFromText(text);
    if (written)
        return written;
    if (file.size != kMasterKeyBytes)
        return Malformed("a file with a master key has 32 bytes or holds 64 hexadecimal digits, "
                         "and this one has " +
                         std::to_string(file.size) + " bytes");
    return KeyMaterial(file);
}

// Typed, or in a file.
template <typename Key>
Result<Key> RawKey(const char *given, Result<Key> (*fromText)(std::string_view),
                   Result<Key> (*fromFile)(ByteView))
{
    Result<Key> typed = fromText(given);
    if (typed || LooksTyped(given))
        return typed;
    const Result<KeyMaterial> file = ReadKeyFile(given, Secret::kLargestRawKeyFile);
    if (!file)
        return About(Secret::kRawKeyDetail, file.Failure());
    return fromFile(file->View());
}

}  // namespace

Secret::Secret(Form form, ProtectorKind kind, const KeyMaterial &key) : _form(form)
{
    _keys.Add(kind, key.View());
}

Result<Secret> Secret::FromPassword(std::string_view utf8)
{
    const std::optional<KeyMaterial> units = Utf16FromUtf8(utf8);
    if (!units)
        return Malformed("the password is not valid UTF-8");
    return Secret(Form::kPassword, ProtectorKind::kPassword, HashOf(HashOf(units->View()).View()));
}

Result<Secret> Secret::FromRecoveryPassword(std::string_view text)
{
    const Result<KeyMaterial> bytes = ParseRecoveryPassword(text);
    if (!bytes)
        return bytes.Failure();
    return Secret(Form::kRecoveryPassword, ProtectorKind::kRecoveryPassword, HashOf(bytes->View()));
}

Result<Secret> Secret::FromStartupKey(ByteView file)
{
    return FromParsed(StartupKeyFile::Parse(file));
}

Result<Secret> Secret::FromStartupKeyFile(const std::string &path)
{
    if (Error error = CheckPath(path.c_str()))
        return error;
    return FromParsed(StartupKeyFile::Read(path));
}

Result<Secret> Secret::FromParsed(Result<StartupKeyFile> file)
{
    if (!file)
        return file.Failure();
    Secret secret(Form::kStartupKey);
    secret._keys.Add(ProtectorKind::kExternalKey, file->key.View(), {file->identifier});
    return secret;
}

Secret Secret::FromCollection(Form form, KeyCollection collection)
{
    Secret secret(form);
    secret._problems = collection.Problems();
    secret._isCut = collection.IsCut();
    secret._keys = collection.TakeKeys();
    return secret;
}

Result<Secret> Secret::FromRecoveryFile(const char *path)
{
    if (Error error = CheckPath(path))
        return error;
    Result<KeyCollection> file = KeyCollection::FromFile(path, kLargestRecoveryFile);
    if (!file)
        return About(std::string(kRecoveryFileDetail) + path, file.Failure());
    const KeyList &keys = file->Keys();
    if (keys.CountOf(ProtectorKind::kExternalKey) > 0)
        return Malformed("the file is a startup key; give it with the kind \"startup-key\"");
    if (keys.Size() > 0)
        return FromCollection(Form::kRecoveryFile, std::move(*file));
    const std::string problems = file->Problems();
    return Malformed(problems.empty() ? "there is no recovery password of 48 digits in the file"
                                      : problems);
}

Result<Secret> Secret::FromKeyRing(const char *path, const CancelFlag *cancel,
                                   const std::vector<Guid> &wanted)
{
    if (Error error = CheckPath(path))
        return error;
    Result<KeyCollection> ring = KeyCollection::FromPath(path, cancel, wanted);
    if (!ring)
        return About(std::string(kKeyRingDetail) + path, ring.Failure());
    if (ring->Keys().Size() > 0)
        return FromCollection(Form::kKeyRing, std::move(*ring));
    const std::string problems = ring->Problems();
    return Malformed("there is no recovery password of 48 digits and no startup key in the key "
                     "ring" +
                     (problems.empty() ? "" : "; " + problems));
}

Result<Secret> Secret::FromMasterKey(const char *given)
{
    Result<KeyMaterial> key = RawKey(given, MasterKeyFromText, MasterKeyFromFile);
    if (!key)
        return key.Failure();
    Secret secret(Form::kMasterKey);
    secret._masterKey = std::move(*key);
    return secret;
}

Result<Secret> Secret::FromSectorKey(const char *given)
{
    Result<GivenSectorKey> key = RawKey(given, GivenSectorKey::FromText, GivenSectorKey::FromFile);
    if (!key)
        return key.Failure();
    Secret secret(Form::kSectorKey);
    secret._sectorKey = std::move(*key);
    return secret;
}

}  // namespace vx::bitlocker
