// The class of a pattern: "[a-z]", "[!a-z]", "[^a-z]", "[[:alpha:]_]".
//
// Source of the rules: rsync(1), "PATTERN MATCHING RULES", and glob(7); what they leave open is as
// the tests have found it.
#pragma once

#include <bitset>
#include <cstddef>
#include <optional>
#include <string>

namespace vx {

using ByteSet = std::bitset<256>;

// *at: of the "[", and then after the "]". The bytes that the class matches, never a "/". Nothing
// if the class does not end, or names a class of characters that does not exist.
std::optional<ByteSet> ReadByteClass(const std::string &pattern, size_t *at);

}  // namespace vx
