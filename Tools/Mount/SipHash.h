// SipHash-2-4, a hash that nobody can foresee without its key.
//
// Source: J.-P. Aumasson, D. J. Bernstein, "SipHash: a fast short-input PRF", 2012. Threads: any.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace vx {

// key: its sixteen bytes as two little-endian numbers.
uint64_t SipHash(const std::array<uint64_t, 2> &key, std::string_view bytes);

}  // namespace vx
