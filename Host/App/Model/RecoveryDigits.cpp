#include "RecoveryDigits.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kMostDigits = 2 * RecoveryDigits::kGroups * RecoveryDigits::kGroupDigits;
constexpr unsigned kGroupLimit = 720896;
constexpr unsigned kGroupFactor = 11;

// The digit, or a zero character.
char DigitOf(char16_t unit)
{
    if (unit >= u'0' && unit <= u'9')
        return static_cast<char>(unit);
    constexpr char16_t kFullWidthZero = 0xFF10;
    if (unit >= kFullWidthZero && unit < kFullWidthZero + 10)
        return static_cast<char>('0' + (unit - kFullWidthZero));
    return 0;
}

// Missing digits can only be added at the end.
bool IsWrong(const std::string &text, const RecoveryGroup &group)
{
    unsigned least = 0;
    for (size_t i = 0; i < RecoveryDigits::kGroupDigits; ++i) {
        const unsigned digit =
            i < group.length ? static_cast<unsigned>(text[group.begin + i] - '0') : 0;
        least = least * 10 + digit;
    }
    const bool isWhole = group.length == RecoveryDigits::kGroupDigits;
    return least >= kGroupLimit || (isWhole && least % kGroupFactor != 0);
}

void AppendDigit(char digit, RecoveryDigits *result)
{
    if (result->groups.empty() || result->groups.back().length == RecoveryDigits::kGroupDigits) {
        if (!result->groups.empty())
            result->text += '-';
        result->groups.push_back({result->text.size(), 0, false});
    }
    result->text += digit;
    ++result->groups.back().length;
}

void MarkWrongGroups(RecoveryDigits *result)
{
    for (size_t i = 0; i < result->groups.size(); ++i) {
        RecoveryGroup &group = result->groups[i];
        group.isWrong = i >= RecoveryDigits::kGroups || IsWrong(result->text, group);
    }
}

}  // namespace

bool RecoveryDigits::IsComplete() const
{
    return groups.size() == kGroups && groups.back().length == kGroupDigits &&
           WrongGroups().empty();
}

std::vector<size_t> RecoveryDigits::WrongGroups() const
{
    std::vector<size_t> wrong;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].isWrong)
            wrong.push_back(i + 1);
    }
    return wrong;
}

RecoveryDigits GroupRecoveryDigits(const std::u16string &typed, size_t cursor)
{
    RecoveryDigits result;
    // It never grows, so that no copy of the digits stays behind in memory.
    result.text.reserve(kMostDigits + kMostDigits / RecoveryDigits::kGroupDigits);
    size_t digits = 0;
    for (size_t i = 0; i < typed.size() && digits < kMostDigits; ++i) {
        const char digit = DigitOf(typed[i]);
        if (digit == 0)
            continue;
        AppendDigit(digit, &result);
        ++digits;
        if (i < cursor)
            result.cursor = result.text.size();
    }
    MarkWrongGroups(&result);
    return result;
}

}  // namespace vx
