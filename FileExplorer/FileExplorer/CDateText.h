// Dates as the platform's localized formatter writes them (long date, short time), made fast.
//
// Making a formatter costs far more than using one, and a folder of many thousand entries needs
// as many texts. So one formatter is kept for as long as the user's locale and time zone stay
// the same, and where its pattern keeps date and time apart, the text of each day and of each
// minute of a day is made once and the two are joined. A day's texts are joined only after its
// first and its last minute came out as the formatter writes them; the time zone's own tables
// and the formatter's need not agree.
//
// Threads: any; calls are serialised by a lock.
#pragma once

#import <Foundation/Foundation.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

class CDateText {
public:
    // The one of the process.
    static CDateText &shared();

    CDateText() = default;
    ~CDateText();
    CDateText(const CDateText &) = delete;
    CDateText &operator=(const CDateText &) = delete;

    // seconds since 1970-01-01 00:00 UTC → "March 5, 2024 at 9:07 AM"; autoreleased.
    NSString *textFor(uint64_t seconds);

private:
    static constexpr size_t kMinutesPerDay = 24 * 60;

    void followSettings();
    void forgetSettings();
    void takeApart(NSString *pattern);
    bool joins(uint64_t seconds);
    std::u16string formatted(uint64_t seconds);
    std::u16string joined(uint64_t seconds);
    const std::u16string &textOfDay(int64_t day);
    const std::u16string &textOfMinute(size_t minute);

    std::mutex _mutex;
    NSLocale *_locale = nil;
    NSTimeZone *_zone = nil;
    NSDateFormatter *_formatter = nil;
    // The two halves of the pattern, in UTC; nil where it cannot be taken apart.
    NSDateFormatter *_dayFormatter = nil;
    NSDateFormatter *_minuteFormatter = nil;
    bool _dayComesFirst = true;
    std::unordered_map<uint64_t, bool> _daysThatJoin;       // by day in UTC
    std::unordered_map<int64_t, std::u16string> _dayTexts;  // by day in the time zone
    std::array<std::u16string, kMinutesPerDay> _minuteTexts;
};
