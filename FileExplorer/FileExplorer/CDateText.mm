#import "CDateText.h"

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

NSDateFormatter *newFormatter(NSLocale *locale, NSTimeZone *zone, NSDateFormatterStyle day,
                              NSDateFormatterStyle minute)
{
    NSDateFormatter *formatter = [[NSDateFormatter alloc] init];
    [formatter setLocale:locale];
    [formatter setTimeZone:zone];
    [formatter setDateStyle:day];
    [formatter setTimeStyle:minute];
    return formatter;
}

bool startsWith(const std::u16string &text, const std::u16string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool endsWith(const std::u16string &text, const std::u16string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A copy is one allocation, which matters for many thousands of entries.
NSString *compactString(const std::u16string &text)
{
    NSString *loose =
        [[NSString alloc] initWithCharacters:reinterpret_cast<const unichar *>(text.data())
                                      length:text.size()];
    NSString *compact = [[NSString alloc] initWithString:loose];
    [loose release];
    return [compact autorelease];
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
    const vx::MutexLock guard(_mutex);
    followSettings();
    if (!joins(seconds))
        return [_formatter stringFromDate:dateAt(static_cast<double>(seconds))];
    return compactString(joined(seconds));
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
    NSTimeZone *utc = [NSTimeZone timeZoneForSecondsFromGMT:0];
    _formatter = newFormatter(locale, zone, NSDateFormatterLongStyle, NSDateFormatterShortStyle);
    _dayFormatter = newFormatter(locale, utc, NSDateFormatterLongStyle, NSDateFormatterNoStyle);
    _minuteFormatter = newFormatter(locale, utc, NSDateFormatterNoStyle, NSDateFormatterShortStyle);
    learnOrder();
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

// Any date shows how the platform joins a day and a minute in this locale.
void CDateText::learnOrder()
{
    const std::u16string whole = formatted(0);
    const uint64_t local = localSeconds(0);
    const std::u16string &day = textOfDay(local / kSecondsPerDay);
    const std::u16string &minute = textOfMinute(local % kSecondsPerDay / 60);

    _order = Order::kUnknown;
    if (day.empty() || minute.empty() || whole.size() < day.size() + minute.size())
        return;
    const size_t between = whole.size() - day.size() - minute.size();
    if (startsWith(whole, day) && endsWith(whole, minute)) {
        _order = Order::kDayFirst;
        _between = whole.substr(day.size(), between);
    } else if (startsWith(whole, minute) && endsWith(whole, day)) {
        _order = Order::kMinuteFirst;
        _between = whole.substr(minute.size(), between);
    }
}

bool CDateText::joins(uint64_t seconds)
{
    if (_order == Order::kUnknown || seconds >= kEndOfYear9999)
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
    const uint64_t local = localSeconds(seconds);
    const std::u16string &day = textOfDay(local / kSecondsPerDay);
    const std::u16string &minute = textOfMinute(local % kSecondsPerDay / 60);
    return _order == Order::kDayFirst ? day + _between + minute : minute + _between + day;
}

// The time zone's clock, in seconds since the day before 1970-01-01, which keeps it positive
// west of Greenwich.
uint64_t CDateText::localSeconds(uint64_t seconds)
{
    const NSInteger offset = [_zone secondsFromGMTForDate:dateAt(static_cast<double>(seconds))];
    return seconds + static_cast<uint64_t>(offset + NSInteger(kSecondsPerDay));
}

const std::u16string &CDateText::textOfDay(uint64_t localDay)
{
    std::u16string &text = _dayTexts[localDay];
    if (text.empty()) {
        const double seconds = (static_cast<double>(localDay) - 1) * kSecondsPerDay;
        text = Utf16Text([_dayFormatter stringFromDate:dateAt(seconds)]);
    }
    return text;
}

const std::u16string &CDateText::textOfMinute(size_t minute)
{
    std::u16string &text = _minuteTexts[minute];
    if (text.empty())
        text = Utf16Text([_minuteFormatter stringFromDate:dateAt(double(minute) * 60)]);
    return text;
}
