// The user's secret, checked and reduced to what unlocking needs: one key or many for protectors,
// or a raw key.
//
// The text that was given is not kept. Move-only; wiped with its owner.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "GivenSectorKey.h"
#include "KeyList.h"

#include <optional>
#include <string_view>

namespace vx::bitlocker {

class KeyCollection;
struct StartupKeyFile;

class Secret {
public:
    enum class Form {
        kNone,
        kPassword,
        kRecoveryPassword,
        kStartupKey,
        kRecoveryFile,
        kKeyRing,
        kMasterKey,
        kSectorKey,
    };

    // What the detail of an error begins with when what was named, not the volume, cannot be read.
    static constexpr char kRecoveryFileDetail[] = "the recovery file at ";
    static constexpr char kKeyRingDetail[] = "the key ring at ";
    static constexpr char kRawKeyDetail[] = "the file with the key";

    // A file that Windows saved is not longer; more is not read.
    static constexpr size_t kLargestRecoveryFile = size_t{1} << 20;
    static constexpr size_t kLargestRawKeyFile = 4096;

    // Nothing: opens suspended (clear key) and decrypted volumes.
    static Secret None() { return Secret(Form::kNone); }
    // Any UTF-8 text, as it was typed. Errors: kMalformedSecret.
    static Result<Secret> FromPassword(std::string_view utf8);
    // 48 digits with or without dashes or spaces, of any kind. Errors: kMalformedSecret with the
    // group.
    static Result<Secret> FromRecoveryPassword(std::string_view text);
    // The contents of a startup key file. Errors: kMalformedSecret.
    static Result<Secret> FromStartupKey(ByteView file);
    // The path of one. Errors: kMalformedSecret, kSystemError.
    static Result<Secret> FromStartupKeyFile(const std::string &path);
    // The path of a text with recovery passwords. Errors: kMalformedSecret, kSystemError.
    static Result<Secret> FromRecoveryFile(const char *path);
    // The path of a file or folder with recovery passwords and startup keys. Errors:
    // kMalformedSecret if there is none, kSystemError, kCancelled.
    // wanted: the protectors that are to be opened, whose keys count first if there are too many.
    static Result<Secret> FromKeyRing(const char *path, const CancelFlag *cancel = nullptr,
                                      const std::vector<Guid> &wanted = {});
    // Hexadecimal digits, or the path of a file that holds them or the bare 32 bytes. Errors:
    // kMalformedSecret, kSystemError. No error repeats what was given.
    static Result<Secret> FromMasterKey(const char *given);
    // As GivenSectorKey.h says, or the path of such a file. Errors: as before.
    static Result<Secret> FromSectorKey(const char *given);

    Form GivenForm() const { return _form; }
    // For protectors; none of kNone and of raw keys.
    const KeyList &Keys() const { return _keys; }
    // 32 bytes; empty but for kMasterKey.
    ByteView MasterKey() const { return _masterKey.View(); }
    // Null but for kSectorKey.
    const GivenSectorKey *SectorKey() const { return _sectorKey ? &*_sectorKey : nullptr; }
    // What of a file or folder of keys could not be used, in words; empty if there is nothing.
    const std::string &Problems() const { return _problems; }
    // Whether such a folder or file has more than is read.
    bool IsCut() const { return _isCut; }

private:
    explicit Secret(Form form) : _form(form) {}
    Secret(Form form, ProtectorKind kind, const KeyMaterial &key);
    static Result<Secret> FromParsed(Result<StartupKeyFile> file);
    static Secret FromCollection(Form form, KeyCollection collection);

    Form _form;
    KeyList _keys;
    KeyMaterial _masterKey;
    std::optional<GivenSectorKey> _sectorKey;
    std::string _problems;
    bool _isCut = false;
};

}  // namespace vx::bitlocker
