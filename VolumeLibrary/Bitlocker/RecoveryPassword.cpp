#include "RecoveryPassword.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kGroups = 8;
constexpr size_t kGroupDigits = 6;
constexpr unsigned kCheckDivisor = 11;
constexpr unsigned kLargestQuotient = 0xffff;

Error malformed(size_t group, const std::string &what)
{
    return {Status::MalformedSecret, "group " + std::to_string(group) + what};
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isSeparator(char c)
{
    return c == '-' || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// The number of digits up to the next separator or the end; none if something else is there.
Result<size_t> runLength(std::string_view text, size_t group)
{
    size_t length = 0;
    for (; length < text.size() && !isSeparator(text[length]); ++length)
        if (!isDigit(text[length]))
            return malformed(group + length / kGroupDigits, " holds something that is no digit");
    return length;
}

// group: its number, from 1 on.
Error parseGroup(std::string_view digits, size_t group, uint8_t *place)
{
    unsigned value = 0;
    for (char digit : digits)
        value = value * 10 + static_cast<unsigned>(digit - '0');
    if (value % kCheckDivisor != 0)
        return malformed(group, " is mistyped (no multiple of 11)");
    if (value / kCheckDivisor > kLargestQuotient)
        return malformed(group, " is mistyped (too large)");
    place[0] = static_cast<uint8_t>(value / kCheckDivisor);
    place[1] = static_cast<uint8_t>(value / kCheckDivisor >> 8);
    return {};
}

// Takes the groups of one run of digits. groups: the number of groups so far.
Error parseRun(std::string_view run, size_t &groups, KeyMaterial &key)
{
    for (; !run.empty(); run.remove_prefix(kGroupDigits)) {
        if (groups == kGroups)
            return {Status::MalformedSecret, "there are more than 8 groups of digits"};
        if (run.size() < kGroupDigits || (run.size() > kGroupDigits && run.size() % kGroupDigits))
            return malformed(groups + 1, " does not have six digits");
        if (Error error =
                parseGroup(run.substr(0, kGroupDigits), groups + 1, key.data() + groups * 2))
            return error;
        ++groups;
    }
    return {};
}

}  // namespace

Result<KeyMaterial> parseRecoveryPassword(std::string_view text)
{
    KeyMaterial key(kGroups * 2);
    size_t groups = 0;
    while (!text.empty()) {
        if (isSeparator(text.front())) {
            text.remove_prefix(1);
            continue;
        }
        Result<size_t> length = runLength(text, groups + 1);
        if (!length)
            return length.error();
        if (Error error = parseRun(text.substr(0, *length), groups, key))
            return error;
        text.remove_prefix(*length);
    }
    if (groups < kGroups)
        return Error{Status::MalformedSecret,
                     "there are " + std::to_string(groups) + " groups of digits instead of 8"};
    return key;
}

}  // namespace vx::bitlocker
