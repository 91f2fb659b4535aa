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

#include "Mutex.h"

#include <array>
#include <cstdint>
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

    vx::Mutex _mutex;

    void followSettings() VX_REQUIRES(_mutex);
    void forgetSettings() VX_REQUIRES(_mutex);
    void learnOrder() VX_REQUIRES(_mutex);
    bool joins(uint64_t seconds) VX_REQUIRES(_mutex);
    std::u16string formatted(uint64_t seconds) VX_REQUIRES(_mutex);
    std::u16string joined(uint64_t seconds) VX_REQUIRES(_mutex);
    uint64_t localSeconds(uint64_t seconds) VX_REQUIRES(_mutex);
    const std::u16string &textOfDay(uint64_t localDay) VX_REQUIRES(_mutex);
    const std::u16string &textOfMinute(size_t minute) VX_REQUIRES(_mutex);

    NSLocale *_locale VX_GUARDED_BY(_mutex) = nil;
    NSTimeZone *_zone VX_GUARDED_BY(_mutex) = nil;
    NSDateFormatter *_formatter VX_GUARDED_BY(_mutex) = nil;
    NSDateFormatter *_dayFormatter VX_GUARDED_BY(_mutex) = nil;     // in UTC
    NSDateFormatter *_minuteFormatter VX_GUARDED_BY(_mutex) = nil;  // in UTC
    enum class Order {
        kUnknown,
        kDayFirst,
        kMinuteFirst
    } _order VX_GUARDED_BY(_mutex) = Order::kUnknown;
    std::u16string _between VX_GUARDED_BY(_mutex);
    std::unordered_map<uint64_t, bool> _daysThatJoin VX_GUARDED_BY(_mutex);  // by day in UTC
    std::unordered_map<uint64_t, std::u16string>
        _dayTexts VX_GUARDED_BY(_mutex);  // by day of localSeconds
    std::array<std::u16string, kMinutesPerDay> _minuteTexts VX_GUARDED_BY(_mutex);
};
