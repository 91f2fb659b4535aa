#include "PlainSign.h"

#include "RecoveryPasswordGroups.h"

#include <algorithm>
#include <iterator>

namespace vx::bitlocker {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// The separators of groups in texts that people copy: the dashes and blanks of Unicode (categories
// Pd and Zs), the signs that look like a dash, and what word processors and web pages add unseen.
constexpr Range kSeparators[] = {
    {0x0009, 0x000d}, {0x0020, 0x0020}, {0x002d, 0x002d}, {0x0085, 0x0085}, {0x00a0, 0x00a0},
    {0x00ad, 0x00ad}, {0x02d7, 0x02d7}, {0x058a, 0x058a}, {0x05be, 0x05be}, {0x1400, 0x1400},
    {0x1680, 0x1680}, {0x1806, 0x1806}, {0x180e, 0x180e}, {0x2000, 0x2015}, {0x2028, 0x202f},
    {0x2043, 0x2043}, {0x205f, 0x2064}, {0x2066, 0x2069}, {0x2212, 0x2212}, {0x2e17, 0x2e17},
    {0x2e1a, 0x2e1a}, {0x2e3a, 0x2e3b}, {0x2e40, 0x2e40}, {0x2e5d, 0x2e5d}, {0x3000, 0x3000},
    {0x301c, 0x301c}, {0x3030, 0x3030}, {0x30a0, 0x30a0}, {0x30fc, 0x30fc}, {0xfe31, 0xfe32},
    {0xfe58, 0xfe58}, {0xfe63, 0xfe63}, {0xfeff, 0xfeff}, {0xff0d, 0xff0d}, {0xff70, 0xff70},
};

bool IsSeparator(char32_t character)
{
    return std::any_of(std::begin(kSeparators), std::end(kSeparators), [&](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

}  // namespace

char PlainSign(char32_t character)
{
    constexpr char32_t kFullWidthZero = 0xff10;
    if (character >= '0' && character <= '9')
        return static_cast<char>(character);
    if (character >= kFullWidthZero && character < kFullWidthZero + 10)
        return static_cast<char>('0' + (character - kFullWidthZero));
    return IsSeparator(character) ? RecoveryPasswordGroups::kSeparator
                                  : RecoveryPasswordGroups::kOther;
}

}  // namespace vx::bitlocker
