// Times for tests of the date text, and the text that the platform gives for each.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>
#include <string>
#include <vector>

#import "Z5FindData.h"

constexpr uint64_t kFileTimePerSecond = 10000000;
constexpr uint64_t kFileTimeOf1970 = 116444736000000000;

inline uint64_t FileTimeOf(uint64_t secondsSince1970)
{
    return kFileTimeOf1970 + secondsSince1970 * kFileTimePerSecond;
}

// What the entry's rule comes to: unsigned arithmetic, then the platform's formatter.
inline std::string PlatformDateText(uint64_t fileTime)
{
    const uint64_t seconds = fileTime / kFileTimePerSecond - 11644473600u;
    NSDate *date = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(seconds)];
    return [[NSDateFormatter localizedStringFromDate:date
                                           dateStyle:NSDateFormatterLongStyle
                                           timeStyle:NSDateFormatterShortStyle] UTF8String];
}

// Times from 1970 to 2105, step by step; the odd step visits every hour and minute.
inline std::vector<uint64_t> TimesOverManyYears(size_t count)
{
    constexpr uint64_t kSpan = 135ull * 365 * 24 * 60 * 60;
    std::vector<uint64_t> times;
    for (size_t i = 0; i < count; ++i)
        times.push_back(FileTimeOf(kSpan / count * i + i * 61));
    return times;
}

// Every quarter of an hour around the changes of the clock of common zones, in some years.
inline std::vector<uint64_t> TimesAroundClockChanges()
{
    constexpr uint64_t kDay = 24 * 60 * 60;
    // 2024-03-09, 2024-03-30, 2024-04-06, 2024-10-05, 2024-10-26, 2024-11-02; 1972-01-06, when
    // Liberia's clock left its odd 44.5 minutes; 2011-12-29, when Samoa left out a day.
    std::vector<uint64_t> times;
    for (const uint64_t start : {1709942400ull, 1711756800ull, 1712361600ull, 1728086400ull,
                                 1729900800ull, 1730505600ull, 63504000ull, 1325116800ull}) {
        for (uint64_t at = 0; at < 3 * kDay; at += 15 * 60)
            times.push_back(FileTimeOf(start + at));
    }
    return times;
}

// The times whose text is not the platform's, each with both texts.
inline std::vector<std::string> DateTextsThatDiffer(const std::vector<uint64_t> &times)
{
    std::vector<std::string> differences;
    for (const uint64_t time : times) {
        @autoreleasepool {
            const std::string ours = [[Z5FindData FormatFileTimeToString:time] UTF8String];
            const std::string theirs = PlatformDateText(time);
            if (ours != theirs)
                differences.push_back(
                    std::to_string(time).append(": " + ours + " / ").append(theirs));
        }
    }
    return differences;
}
