#import "CDateText.h"

#import "DatePattern.h"
#import "Utf16Text.h"

namespace {

constexpr uint64_t kSecondsPerDay = 24 * 60 * 60;
// Later dates come from broken records only and are left to the formatter.
constexpr uint64_t kEndOfYear9999 = 253402300800;
constexpr size_t kMostDaysKept = 16384;

NSDate *dateAt(double seconds)
{
    return [NSDate dateWithTimeIntervalSince1970:seconds];
}

NSDateFormatter *newUtcFormatter(NSString *pattern, NSLocale *locale)
{
    NSDateFormatter *formatter = [[NSDateFormatter alloc] init];
    [formatter setLocale:locale];
    [formatter setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:0]];
    [formatter setDateFormat:pattern];
    return formatter;
}

NSString *newString(const std::u16string &text)
{
    return [[NSString alloc] initWithCharacters:reinterpret_cast<const unichar *>(text.data())
                                         length:text.size()];
}

}  // namespace

CDateText &CDateText::shared()
{
    static CDateText instance;
    return instance;
}

CDateText::~CDateText()
{
    forgetSettings();
}

NSString *CDateText::textFor(uint64_t seconds)
{
    const std::lock_guard<std::mutex> guard(_mutex);
    followSettings();
    if (!joins(seconds))
        return [_formatter stringFromDate:dateAt(static_cast<double>(seconds))];
    return [newString(joined(seconds)) autorelease];
}

// The settings can change while the program runs, and not every change posts a notification.
void CDateText::followSettings()
{
    NSLocale *locale = [NSLocale currentLocale];
    NSTimeZone *zone = [NSTimeZone defaultTimeZone];
    if (_formatter != nil && locale == _locale && zone == _zone)
        return;

    forgetSettings();
    _locale = [locale retain];
    _zone = [zone retain];
    _formatter = [[NSDateFormatter alloc] init];
    [_formatter setLocale:locale];
    [_formatter setTimeZone:zone];
    [_formatter setDateStyle:NSDateFormatterLongStyle];
    [_formatter setTimeStyle:NSDateFormatterShortStyle];
    takeApart([_formatter dateFormat]);
}

void CDateText::forgetSettings()
{
    for (id *held : {(id *)&_locale, (id *)&_zone, (id *)&_formatter, (id *)&_dayFormatter,
                     (id *)&_minuteFormatter}) {
        [*held release];
        *held = nil;
    }
    _daysThatJoin.clear();
    _dayTexts.clear();
    _minuteTexts.fill(std::u16string());
}

void CDateText::takeApart(NSString *pattern)
{
    const DatePatternParts parts = SplitDatePattern(pattern);
    if (parts.day == nil)
        return;
    _dayFormatter = newUtcFormatter(parts.day, _locale);
    _minuteFormatter = newUtcFormatter(parts.minute, _locale);
    _dayComesFirst = parts.dayComesFirst;
}

bool CDateText::joins(uint64_t seconds)
{
    if (_dayFormatter == nil || seconds >= kEndOfYear9999)
        return false;
    const uint64_t day = seconds / kSecondsPerDay;
    const auto known = _daysThatJoin.find(day);
    if (known != _daysThatJoin.end())
        return known->second;

    if (_daysThatJoin.size() >= kMostDaysKept) {
        _daysThatJoin.clear();
        _dayTexts.clear();
    }
    const uint64_t first = day * kSecondsPerDay;
    const uint64_t last = first + kSecondsPerDay - 1;
    const bool joins = joined(first) == formatted(first) && joined(last) == formatted(last);
    _daysThatJoin.emplace(day, joins);
    return joins;
}

std::u16string CDateText::formatted(uint64_t seconds)
{
    return Utf16Text([_formatter stringFromDate:dateAt(static_cast<double>(seconds))]);
}

std::u16string CDateText::joined(uint64_t seconds)
{
    NSDate *date = dateAt(static_cast<double>(seconds));
    // At least one whole day, so that a zone west of Greenwich keeps the sum positive.
    const int64_t offset = [_zone secondsFromGMTForDate:date] + int64_t(kSecondsPerDay);
    const uint64_t local = seconds + static_cast<uint64_t>(offset);
    const std::u16string &day = textOfDay(int64_t(local / kSecondsPerDay) - 1);
    const std::u16string &minute = textOfMinute(local % kSecondsPerDay / 60);
    return _dayComesFirst ? day + minute : minute + day;
}

const std::u16string &CDateText::textOfDay(int64_t day)
{
    std::u16string &text = _dayTexts[day];
    if (text.empty())
        text = Utf16Text([_dayFormatter stringFromDate:dateAt(double(day) * kSecondsPerDay)]);
    return text;
}

const std::u16string &CDateText::textOfMinute(size_t minute)
{
    std::u16string &text = _minuteTexts[minute];
    if (text.empty())
        text = Utf16Text([_minuteFormatter stringFromDate:dateAt(double(minute) * 60)]);
    return text;
}
