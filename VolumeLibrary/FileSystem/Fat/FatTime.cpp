#include "FatTime.h"

#include "FileTime.h"

#include <ctime>

namespace vx {
namespace {

constexpr uint8_t kZoneIsKnown = 0x80;
constexpr time_t kQuarter = 15 * 60;

bool TakeFields(uint16_t date, uint16_t time, tm *fields)
{
    fields->tm_year = (date >> 9) + 80;
    fields->tm_mon = (date >> 5 & 0xF) - 1;
    fields->tm_mday = date & 0x1F;
    fields->tm_hour = time >> 11;
    fields->tm_min = time >> 5 & 0x3F;
    fields->tm_sec = (time & 0x1F) * 2;
    fields->tm_isdst = -1;
    return fields->tm_mon >= 0 && fields->tm_mon < 12 && fields->tm_mday > 0;
}

uint64_t WithHundredths(time_t seconds, uint8_t hundredths)
{
    timespec time = {};
    time.tv_sec = seconds + hundredths / 100;
    time.tv_nsec = hundredths % 100 * 10000000L;
    return FileTimeFromTimespec(time);
}

}  // namespace

uint64_t FileTimeFromFat(uint16_t date, uint16_t time, uint8_t hundredths)
{
    tm fields = {};
    if (!TakeFields(date, time, &fields))
        return 0;
    return WithHundredths(mktime(&fields), hundredths);
}

uint64_t FileTimeFromExfat(uint32_t stamp, uint8_t hundredths, uint8_t zone)
{
    const auto date = static_cast<uint16_t>(stamp >> 16);
    const auto time = static_cast<uint16_t>(stamp);
    if ((zone & kZoneIsKnown) == 0)
        return FileTimeFromFat(date, time, hundredths);
    tm fields = {};
    if (!TakeFields(date, time, &fields))
        return 0;
    const int quarters = (zone & 0x40) != 0 ? (zone & 0x7F) - 128 : zone & 0x7F;
    return WithHundredths(timegm(&fields) - quarters * kQuarter, hundredths);
}

}  // namespace vx
