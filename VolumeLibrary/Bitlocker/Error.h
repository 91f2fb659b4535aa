// Why an operation of the decryptor did not succeed.
//
// A function that can fail returns an Error (true in a condition means failure) or a
// Result<T>, which holds either the value or the Error. Nothing throws but std::bad_alloc, as
// any container does. detail is one English sentence without a full stop, meant for a person; it
// never contains a secret or a key.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vx::bitlocker {

enum class Status {
    Ok,
    NotBitlocker,          // too short, no known signature, or an unknown identifier
    DamagedMetadata,       // no copy of the metadata is usable
    DamagedConversionMap,  // unlocked, but what is encrypted and what is not is unknown
    UnfinishedConversion,  // a half-converted volume of a layout that says not enough about it
    MalformedSecret,       // a typing error in a recovery password, a broken key file, ...
    NoProtectorOfKind,     // the volume has no protector for this kind of secret
    WrongSecret,           // there are protectors of the kind, the secret opens none of them
    UnsupportedProtector,  // nothing but TPM, smart card or unknown protectors
    UnsupportedMethod,     // a cipher that is not known
    TruncatedImage,        // bytes behind the end of the device or image were wanted
    DamagedFileSystem,     // unlocked, but no file system inside; found by the layer above
    SystemError,           // an error of the operating system, see systemError
    Cancelled,             // the caller's flag was raised
};

struct [[nodiscard]] Error {
    Status status = Status::Ok;
    std::string detail;
    int systemError = 0;  // errno, with Status::SystemError only
    // Of a failed read: how far it probably came, for who tries again in smaller pieces.
    size_t bytesRead = 0;

    explicit operator bool() const { return status != Status::Ok; }
};

// The status in words, e.g. "wrong secret".
const char *statusText(Status status);

// The status in words, then the detail: "malformed secret: group 3 has 5 digits".
std::string describe(const Error &error);

// An error of the operating system. what: the operation that failed, e.g. "read".
Error systemError(int number, const std::string &what);

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
    const Error &error() const { return *std::get_if<1>(&_state); }

private:
    std::variant<T, Error> _state;
};

}  // namespace vx::bitlocker
