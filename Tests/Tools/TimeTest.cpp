#include "IsoTime.h"

#include <ctime>
#include <gtest/gtest.h>
#include <limits>

namespace vx {
namespace {

constexpr uint64_t kDay = uint64_t(86400) * 10000000;
constexpr uint64_t kSecondsTo1970 = 11644473600;

// As the C library has it.
std::string ByCalendar(uint64_t days)
{
    const time_t seconds = static_cast<time_t>(days * 86400) - static_cast<time_t>(kSecondsTo1970);
    struct tm date = {};
    gmtime_r(&seconds, &date);
    char text[32];
    strftime(text, sizeof(text), "%Y-%m-%dT00:00:00.0000000Z", &date);
    return text;
}

TEST(IsoTime, IsToTheLastOf100Nanoseconds)
{
    EXPECT_EQ(IsoTime(132459588001234567), "2020-09-30T17:00:00.1234567Z");
    EXPECT_EQ(IsoTime(1), "1601-01-01T00:00:00.0000001Z");
    EXPECT_EQ(IsoTime(116444736000000000 - 1), "1969-12-31T23:59:59.9999999Z");
}

TEST(IsoTime, HasEveryDayOfTwoCyclesOfTheCalendar)
{
    for (uint64_t day = 0; day < 146097 * 2; ++day)
        ASSERT_EQ(IsoTime(day * kDay), ByCalendar(day)) << day;
}

TEST(IsoTime, AYearBeyond9999HasItsSign)
{
    EXPECT_EQ(IsoTime(2650467744000000000 - 1), "9999-12-31T23:59:59.9999999Z");
    EXPECT_EQ(IsoTime(2650467744000000000), "+10000-01-01T00:00:00.0000000Z");
    EXPECT_EQ(IsoTime(std::numeric_limits<uint64_t>::max()), "+60056-05-28T05:36:10.9551615Z");
}

}  // namespace
}  // namespace vx
