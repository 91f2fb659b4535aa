#include "IsoTimeReader.h"

#include <cstddef>
#include <ctime>

namespace vx {
namespace {

constexpr int64_t kUnitsPerSecond = 10000000;
constexpr int64_t kSecondsTo1970 = 11644473600;

class Reader {
public:
    explicit Reader(const std::string &text) : _text(text) {}

    std::optional<uint64_t> Run()
    {
        const bool isRead = TakeDate() && (IsAtEnd() || (TakeTime() && TakeZone())) && IsAtEnd();
        return isRead ? FileTime() : std::nullopt;
    }

private:
    bool IsAtEnd() const { return _next == _text.size(); }

    bool Take(char expected)
    {
        if (IsAtEnd() || _text[_next] != expected)
            return false;
        ++_next;
        return true;
    }

    bool TakeDigit(int *digit)
    {
        if (IsAtEnd() || _text[_next] < '0' || _text[_next] > '9')
            return false;
        *digit = _text[_next++] - '0';
        return true;
    }

    // Exactly this number of digits, and a value from lowest to highest.
    bool TakeNumber(int digits, int lowest, int highest, int *number)
    {
        *number = 0;
        int digit = 0;
        for (; digits > 0; --digits) {
            if (!TakeDigit(&digit))
                return false;
            *number = *number * 10 + digit;
        }
        return *number >= lowest && *number <= highest;
    }

    bool TakeDate()
    {
        if (!TakeNumber(4, 1601, 9999, &_date.tm_year) || !Take('-') ||
            !TakeNumber(2, 1, 12, &_date.tm_mon) || !Take('-') ||
            !TakeNumber(2, 1, 31, &_date.tm_mday))
            return false;
        _date.tm_year -= 1900;
        _date.tm_mon -= 1;
        struct tm same = _date;
        timegm(&same);
        return same.tm_mday == _date.tm_mday;  // a month's missing days are those of the next
    }

    bool TakeTime()
    {
        if (!Take('T') || !TakeNumber(2, 0, 23, &_date.tm_hour) || !Take(':') ||
            !TakeNumber(2, 0, 59, &_date.tm_min))
            return false;
        if (!Take(':'))
            return true;
        return TakeNumber(2, 0, 59, &_date.tm_sec) && (!Take('.') || TakeFraction());
    }

    // Digits beyond those of the volume's times are read and dropped.
    bool TakeFraction()
    {
        int digit = 0;
        if (!TakeDigit(&digit))
            return false;
        int64_t unit = kUnitsPerSecond;
        do {
            unit /= 10;
            _fraction += digit * unit;
        } while (TakeDigit(&digit));
        return true;
    }

    bool TakeZone()
    {
        if (IsAtEnd())
            return true;
        _isLocal = false;
        if (Take('Z'))
            return true;
        const int sign = Take('-') ? -1 : 1;
        int hours = 0;
        int minutes = 0;
        if ((sign > 0 && !Take('+')) || !TakeNumber(2, 0, 23, &hours))
            return false;
        const bool needsMinutes = Take(':') || !IsAtEnd();
        if (needsMinutes && !TakeNumber(2, 0, 59, &minutes))
            return false;
        _offset = sign * (hours * 60 + minutes) * 60;
        return true;
    }

    std::optional<uint64_t> FileTime()
    {
        _date.tm_isdst = -1;
        _date.tm_wday = -1;
        const int64_t seconds = _isLocal ? mktime(&_date) : timegm(&_date);
        const int64_t since1601 = seconds - _offset + kSecondsTo1970;
        // The day of the week stays unknown if the time has no number.
        if (_date.tm_wday < 0 || since1601 < 0)
            return std::nullopt;
        return static_cast<uint64_t>(since1601 * kUnitsPerSecond + _fraction);
    }

    const std::string &_text;
    size_t _next = 0;
    struct tm _date = {};
    int64_t _fraction = 0;  // in 100 ns
    int64_t _offset = 0;    // of the zone from UTC, in seconds
    bool _isLocal = true;
};

}  // namespace

std::optional<uint64_t> ReadIsoTime(const std::string &text)
{
    return Reader(text).Run();
}

}  // namespace vx
