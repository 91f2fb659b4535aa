#include "RecoveryPasswordGroups.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

constexpr size_t kGroups = 8;
constexpr size_t kGroupDigits = 6;
constexpr unsigned kCheckDivisor = 11;
constexpr unsigned kLargestQuotient = 0xffff;

size_t CountDigits(std::string_view signs)
{
    return static_cast<size_t>(
        std::count_if(signs.begin(), signs.end(), [](char c) { return c >= '0' && c <= '9'; }));
}

// "3", "3 and 7", "1, 3 and 7"
std::string NumbersText(const std::vector<size_t> &numbers)
{
    std::string text;
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0)
            text += i + 1 == numbers.size() ? " and " : ", ";
        text += std::to_string(numbers[i]);
    }
    return text;
}

// Appends what is wrong with the groups, if there are any.
void AddComplaint(const std::vector<size_t> &groups, const char *aboutOne, const char *aboutSeveral,
                  std::string &text)
{
    if (groups.empty())
        return;
    const bool isOne = groups.size() == 1;
    text += text.empty() ? "" : "; ";
    text +=
        (isOne ? "group " : "groups ") + NumbersText(groups) + (isOne ? aboutOne : aboutSeveral);
}

// "there is 1 digit instead of 48"
std::string CountText(size_t count, const char *one, const char *several, size_t expected)
{
    return (count == 1 ? std::string("there is 1 ") + one
                       : "there are " + std::to_string(count) + " " + several) +
           " instead of " + std::to_string(expected);
}

}  // namespace

RecoveryPasswordGroups::RecoveryPasswordGroups(ByteView signs) : _key(kGroups * 2)
{
    std::string_view rest(reinterpret_cast<const char *>(signs.data), signs.size);
    _digits = CountDigits(rest);
    while (!rest.empty()) {
        const std::string_view run = rest.substr(0, rest.find(kSeparator));
        rest.remove_prefix(run.empty() ? 1 : run.size());
        if (!run.empty())
            TakeRun(run);
    }
}

// Groups beyond the eighth are not named; there could be any number of them.
void RecoveryPasswordGroups::Blame(std::vector<size_t> &groups, size_t group)
{
    if (group <= kGroups)
        groups.push_back(group);
}

// Which group is short or long is known only where the run is meant to be one.
void RecoveryPasswordGroups::TakeRun(std::string_view run)
{
    const size_t other = run.find(kOther);
    if (other != std::string_view::npos) {
        Blame(_notOfDigits, _groups + 1 + other / kGroupDigits);
        _groups += std::max<size_t>(1, CountDigits(run) / kGroupDigits);
        return;
    }
    if (run.size() % kGroupDigits != 0) {
        if (run.size() == _digits || run.size() >= 2 * kGroupDigits)
            _isCountable = false;
        Blame(_ofWrongLength, ++_groups);
        return;
    }
    for (; !run.empty(); run.remove_prefix(kGroupDigits))
        TakeGroup(run.substr(0, kGroupDigits));
}

void RecoveryPasswordGroups::TakeGroup(std::string_view digits)
{
    unsigned value = 0;
    for (char digit : digits)
        value = value * 10 + static_cast<unsigned>(digit - '0');
    const unsigned quotient = value / kCheckDivisor;
    const size_t group = ++_groups;
    if (value % kCheckDivisor != 0 || quotient > kLargestQuotient)
        Blame(_mistyped, group);
    if (group > kGroups)
        return;
    _key.Data()[2 * group - 2] = static_cast<uint8_t>(quotient);
    _key.Data()[2 * group - 1] = static_cast<uint8_t>(quotient >> 8);
}

std::string RecoveryPasswordGroups::Complaint() const
{
    if (!_isCountable && _notOfDigits.empty())
        return CountText(_digits, "digit", "digits", kGroups * kGroupDigits);
    std::string text;
    if (_groups > kGroups)
        text = "there are more than 8 groups of digits";
    else if (_groups < kGroups)
        text = CountText(_groups, "group of digits", "groups of digits", kGroups);
    AddComplaint(_mistyped, " is mistyped", " are mistyped", text);
    AddComplaint(_ofWrongLength, " does not have six digits", " do not have six digits", text);
    AddComplaint(_notOfDigits, " contains a character that is not a digit",
                 " contain a character that is not a digit", text);
    return text;
}

Result<KeyMaterial> RecoveryPasswordGroups::Key()
{
    const std::string wrong = Complaint();
    if (!wrong.empty())
        return Error{Status::kMalformedSecret, wrong};
    return std::move(_key);
}

}  // namespace vx::bitlocker
