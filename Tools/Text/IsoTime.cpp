#include "IsoTime.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace vx {
namespace {

constexpr uint64_t kUnitsPerSecond = 10000000;
constexpr uint64_t kSecondsPerDay = 86400;

struct Date {
    unsigned year;
    unsigned month;
    unsigned day;
};

bool IsLeap(unsigned year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned DaysOf(unsigned month, unsigned year)
{
    constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays[month - 1] + (month == 2 && IsLeap(year) ? 1 : 0);
}

// days: since 1601-01-01, which begins one of the calendar's cycles of 400 years.
Date DateOf(unsigned days)
{
    const unsigned cycles = days / 146097;
    days %= 146097;
    const unsigned centuries = std::min(days / 36524, 3U);
    days -= centuries * 36524;
    const unsigned leaps = days / 1461;
    days %= 1461;
    const unsigned years = std::min(days / 365, 3U);
    days -= years * 365;

    Date date = {1601 + 400 * cycles + 100 * centuries + 4 * leaps + years, 1, days + 1};
    while (date.day > DaysOf(date.month, date.year))
        date.day -= DaysOf(date.month++, date.year);
    return date;
}

}  // namespace

std::string IsoTime(uint64_t fileTime)
{
    const uint64_t seconds = fileTime / kUnitsPerSecond;
    const Date date = DateOf(static_cast<unsigned>(seconds / kSecondsPerDay));
    const auto ofDay = static_cast<unsigned>(seconds % kSecondsPerDay);
    char text[64];
    snprintf(text, sizeof(text), "%s%04u-%02u-%02uT%02u:%02u:%02u.%07" PRIu64 "Z",
             date.year > 9999 ? "+" : "", date.year, date.month, date.day, ofDay / 3600,
             ofDay / 60 % 60, ofDay % 60, fileTime % kUnitsPerSecond);
    return text;
}

}  // namespace vx
