// What files hold, as far as packing can tell: text, code, noise, zeros, and parts of each.
#pragma once

#include <string>
#include <vector>

namespace vx {

enum class ContentsKind { kText, kCode, kNoise, kZeros, kMixed, kFewBytes };
constexpr ContentsKind kAllContents[] = {ContentsKind::kText,  ContentsKind::kCode,
                                         ContentsKind::kNoise, ContentsKind::kZeros,
                                         ContentsKind::kMixed, ContentsKind::kFewBytes};

// The same bytes for the same seed.
std::string ContentsOf(ContentsKind kind, size_t count, unsigned seed = 1);

}  // namespace vx
