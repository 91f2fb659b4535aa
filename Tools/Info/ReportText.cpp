#include "ReportText.h"

#include "IsoTime.h"
#include "NumberText.h"
#include "TerminalText.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kNameColumns = 15;
constexpr size_t kKeyIdDigits = 8;

int64_t Clamped(uint64_t bytes)
{
    return static_cast<int64_t>(std::min<uint64_t>(bytes, INT64_MAX));
}

}  // namespace

std::string Shown(const char *text)
{
    return TerminalText(std::string(text));
}

std::string Quoted(const char *text)
{
    return *text == '\0' ? "" : "\"" + Shown(text) + "\"";
}

std::string RoundedBytes(uint64_t bytes)
{
    return SizeText(Clamped(bytes));
}

std::string ExactBytes(uint64_t bytes)
{
    return ExactSizeText(Clamped(bytes));
}

std::string GroupedNumber(uint64_t number)
{
    return GroupedText(Clamped(number));
}

std::string DateOf(uint64_t fileTime)
{
    const std::string time = fileTime == 0 ? "" : IsoTime(fileTime);
    return time.substr(0, time.find('T'));
}

std::string MomentOf(uint64_t fileTime)
{
    if (fileTime == 0)
        return "";
    const std::string time = IsoTime(fileTime);
    const size_t timeOfDay = time.find('T') + 1;
    return DateOf(fileTime) + " " + time.substr(timeOfDay, time.find('.') - timeOfDay) + " UTC";
}

std::string KeyIdOf(const std::string &identifier)
{
    return identifier.substr(0, kKeyIdDigits);
}

std::string FactLine(const char *name, const std::string &value)
{
    if (value.empty())
        return "";
    const std::string shown = name;
    return "  " + shown + std::string(kNameColumns - std::min(kNameColumns, shown.size()), ' ') +
           value + "\n";
}

}  // namespace vx
