// Why an operation of the library did not succeed.
//
// A function that can fail returns an Error (true in a condition means failure) or a
// Result<T>, which holds either the value or the Error. Nothing throws but std::bad_alloc, as
// any container does. detail is one English sentence without a full stop, for the user; it
// never contains a secret or a key.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vx {

enum class Status {
    kOk,
    kSystemError,  // an error of the operating system, see systemError
    kCancelled,    // the caller's CancelFlag was raised

    // What was to be opened
    kNotAVolume,            // neither a folder nor a disk or an image
    kUnsupportedContainer,  // a kind of image that is not read
    kDamagedContainer,      // the image contradicts itself
    kTruncatedImage,        // a read beyond the end of the device or image
    kSeveralVolumes,        // the disk holds several and none was chosen
    kNoSuchVolume,          // the disk has no volume of the chosen number
    kPlacesNotKept,         // a map of the disk does not fit it

    // Encryption
    kNotBitlocker,           // too short, no known signature, or an unknown identifier
    kDamagedMetadata,        // no copy of the metadata is usable
    kDamagedConversionMap,   // unlocked, but what is encrypted and what is not is unknown
    kUnfinishedConversion,   // a half-converted volume of a layout that does not say how far
    kUnsupportedUnlockKind,  // there is no such kind of secret
    kSecretNeeded,           // encrypted, and no secret was given
    kMalformedSecret,        // a typing error in a recovery password, a broken key file, ...
    kNoProtectorOfKind,      // the volume has no protector for this kind of secret
    kWrongSecret,            // there are protectors of the kind, the secret opens none of them
    kUnsupportedProtector,   // nothing but TPM, smart card or unknown protectors
    kUnsupportedMethod,      // an unknown cipher

    // File systems
    kUnsupportedFileSystem,
    kDamagedFileSystem,
};

struct [[nodiscard]] Error {
    Status status = Status::kOk;
    std::string detail;
    int systemError = 0;  // errno, with kSystemError only
    // Of a failed read: how far it probably came, for a retry in smaller pieces.
    size_t bytesRead = 0;

    explicit operator bool() const { return status != Status::kOk; }
};

// An error of the operating system. what: the operation that failed, e.g. "read".
Error SystemError(int number, const std::string &what);

// Whether this user lacks a permission.
bool IsPermissionError(const Error &error);

template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : _state(std::move(value)) {}
    Result(Error error) : _state(std::move(error)) {}

    explicit operator bool() const { return _state.index() == 0; }
    T &operator*() { return *std::get_if<0>(&_state); }
    const T &operator*() const { return *std::get_if<0>(&_state); }
    T *operator->() { return std::get_if<0>(&_state); }
    const T *operator->() const { return std::get_if<0>(&_state); }
    const Error &Failure() const { return *std::get_if<1>(&_state); }

private:
    std::variant<T, Error> _state;
};

}  // namespace vx
