// Dates as the platform's localized formatter writes them (long date, short time), made fast.
//
// Making a formatter costs far more than using one, and a folder of many thousand entries needs
// as many texts. So one formatter is kept for as long as the user's locale and time zone stay
// the same. Where its texts are a day's text and a minute's text with always the same words
// between, each day and each minute is formatted once and the two are joined. A day's texts
// are joined only after its first and its last minute came out as the formatter writes them.
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
    void learnOrder();
    bool joins(uint64_t seconds);
    std::u16string formatted(uint64_t seconds);
    std::u16string joined(uint64_t seconds);
    uint64_t localSeconds(uint64_t seconds);
    const std::u16string &textOfDay(uint64_t localDay);
    const std::u16string &textOfMinute(size_t minute);

    std::mutex _mutex;
    NSLocale *_locale = nil;
    NSTimeZone *_zone = nil;
    NSDateFormatter *_formatter = nil;
    NSDateFormatter *_dayFormatter = nil;     // in UTC
    NSDateFormatter *_minuteFormatter = nil;  // in UTC
    enum class Order { Unknown, DayFirst, MinuteFirst } _order = Order::Unknown;
    std::u16string _between;
    std::unordered_map<uint64_t, bool> _daysThatJoin;        // by day in UTC
    std::unordered_map<uint64_t, std::u16string> _dayTexts;  // by day of localSeconds
    std::array<std::u16string, kMinutesPerDay> _minuteTexts;
};
