// Texts with recovery keys in the encodings in which people have them.
#pragma once

#include "KeyCollection.h"

#include <string>
#include <vector>

namespace vx::bitlocker {

constexpr char kKeyId[] = "1A2B3C4D-1122-3344-5566-778899AABBCC";
constexpr char kOtherKeyId[] = "5E6F7A8B-0102-0304-0506-0708090A0B0C";
// The same as they are stored.
constexpr Guid kKeyGuid{{0x4d, 0x3c, 0x2b, 0x1a, 0x22, 0x11, 0x44, 0x33, 0x55, 0x66, 0x77, 0x88,
                         0x99, 0xaa, 0xbb, 0xcc}};
constexpr Guid kOtherKeyGuid{{0x8b, 0x7a, 0x6f, 0x5e, 0x02, 0x01, 0x04, 0x03, 0x05, 0x06, 0x07,
                              0x08, 0x09, 0x0a, 0x0b, 0x0c}};

enum class TextEncoding {
    kUtf8,
    kUtf8WithMark,
    kLittleEndian,
    kLittleEndianWithMark,
    kBigEndian,
    kBigEndianWithMark,
};

constexpr TextEncoding kAllEncodings[] = {
    TextEncoding::kUtf8,         TextEncoding::kUtf8WithMark,
    TextEncoding::kLittleEndian, TextEncoding::kLittleEndianWithMark,
    TextEncoding::kBigEndian,    TextEncoding::kBigEndianWithMark,
};

std::string Encoded(const std::string &utf8, TextEncoding encoding);
ByteView BytesOf(const std::string &text);

// What a computer in one of several languages saves: words, the identifier, words, the password;
// lines end as on Windows.
std::vector<std::string> SavedKeys(const std::string &keyId, const std::string &password);

}  // namespace vx::bitlocker
