// Texts that a disk stores as little-endian UTF-16, as UTF-8. An odd byte at the end is left out.
#pragma once

#include "ByteView.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx {

// A name: a surrogate without its partner is written as if it were a character (WTF-8). NameMapping
// shows those bytes and finds them again, so no two names of a folder are confused.
std::string Wtf8FromUtf16(ByteView units);

// The reverse. Nothing for bytes that are not such a name.
std::optional<std::u16string> Utf16FromWtf8(std::string_view name);

// Text that is only shown, up to a zero unit: a surrogate without its partner becomes U+FFFD.
std::string Utf8FromUtf16(ByteView units);

// False for what cannot be the name of an entry: empty, ".", "..", or with a "/" or a zero.
bool IsEntryName(const std::string &name);

}  // namespace vx
