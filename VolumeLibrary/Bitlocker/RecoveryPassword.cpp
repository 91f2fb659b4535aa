#include "RecoveryPassword.h"

#include <algorithm>

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

// What stands between groups in texts that people copy: dashes and blanks, also those that word
// processors and web pages put in their place. UTF-8.
constexpr std::string_view kSeparators[] = {
    "-",      " ",      "\t",     "\r",     "\n",
    "\u00a0",            // no-break space
    "\u00ad",            // soft hyphen
    "\u2007",            // figure space
    "\u2009",            // thin space
    "\u200b",            // zero width space
    "\u202f",            // narrow no-break space
    "\ufeff",            // zero width no-break space, the mark in front of a file
    "\u2010", "\u2011",  // hyphen, non-breaking hyphen
    "\u2012", "\u2013", "\u2014", "\u2015",  // figure dash, en dash, em dash, horizontal bar
    "\u2212",                                // minus
    "\uff0d",                                // fullwidth hyphen-minus
};

// The number of bytes of the separator at the front; 0 if there is none.
size_t separatorLength(std::string_view text)
{
    for (std::string_view separator : kSeparators)
        if (text.substr(0, separator.size()) == separator)
            return separator.size();
    return 0;
}

size_t countDigits(std::string_view text)
{
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), isDigit));
}

// The number of digits up to the next separator or the end; none if something else is there.
Result<size_t> runLength(std::string_view text, size_t group)
{
    size_t length = 0;
    for (; length < text.size() && separatorLength(text.substr(length)) == 0; ++length)
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

// Which group is short or long can be told only where the run is meant to be one.
// total: the number of digits of the whole text.
Error wrongLength(std::string_view run, size_t group, size_t total)
{
    if (run.size() == total || run.size() >= 2 * kGroupDigits)
        return {Status::MalformedSecret, "there are " + std::to_string(total) +
                                             " digits instead of " +
                                             std::to_string(kGroups * kGroupDigits)};
    return malformed(group, " does not have six digits");
}

// Takes the groups of one run of digits. groups: the number of groups so far.
Error parseRun(std::string_view run, size_t total, size_t &groups, KeyMaterial &key)
{
    if (run.size() % kGroupDigits != 0)
        return wrongLength(run, groups + 1, total);
    for (; !run.empty(); run.remove_prefix(kGroupDigits)) {
        if (groups == kGroups)
            return {Status::MalformedSecret, "there are more than 8 groups of digits"};
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
    const size_t total = countDigits(text);
    size_t groups = 0;
    while (!text.empty()) {
        if (const size_t separator = separatorLength(text)) {
            text.remove_prefix(separator);
            continue;
        }
        Result<size_t> length = runLength(text, groups + 1);
        if (!length)
            return length.error();
        if (Error error = parseRun(text.substr(0, *length), total, groups, key))
            return error;
        text.remove_prefix(*length);
    }
    if (groups < kGroups)
        return Error{Status::MalformedSecret,
                     "there are " + std::to_string(groups) + " groups of digits instead of 8"};
    return key;
}

}  // namespace vx::bitlocker
