#include "NumberText.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace vx {
namespace {

__attribute__((format(printf, 1, 2))) std::string Formatted(const char *format, ...)
{
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace

std::string GroupedText(int64_t number)
{
    std::string text = std::to_string(number);
    const size_t firstDigit = number < 0 ? 1 : 0;
    for (size_t end = text.size(); end > firstDigit + 3; end -= 3)
        text.insert(end - 3, ",");
    return text;
}

ScaledSize ScaleSize(uint64_t bytes)
{
    static const char *const kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    const char *const *unit = kUnits;
    double size = static_cast<double>(bytes);
    // The rounded number decides. 1023 bytes are below.
    while (size >= 1023.95 && unit + 1 != std::end(kUnits)) {
        size /= 1024;
        ++unit;
    }
    return {Formatted(unit == kUnits ? "%.0f" : "%.1f", size), *unit};
}

std::string SizeText(int64_t bytes)
{
    if (bytes < 1024)
        return CountText(bytes, "byte", "bytes");
    const ScaledSize size = ScaleSize(static_cast<uint64_t>(bytes));
    return size.number + " " + size.unit;
}

std::string ExactSizeText(int64_t bytes)
{
    return bytes < 1024 ? SizeText(bytes) : SizeText(bytes) + " (" + GroupedText(bytes) + " bytes)";
}

std::string CountText(int64_t count, const char *one, const char *many)
{
    return GroupedText(count) + " " + (count == 1 ? one : many);
}

std::string MebibyteText(int64_t bytes)
{
    return Formatted("%.1f", static_cast<double>(bytes) / (1024 * 1024));
}

std::string SpeedText(int64_t bytes, double seconds)
{
    const double mebibytes = static_cast<double>(bytes) / (1024 * 1024);
    return Formatted("%.1f MiB/s", mebibytes / std::max(seconds, 0.001));
}

std::string LengthText(uint32_t seconds)
{
    constexpr uint32_t kMinute = 60;
    constexpr uint32_t kHour = 3600;
    if (seconds < 2 * kMinute)
        return std::to_string(seconds) + " s";
    if (seconds < 2 * kHour)
        return std::to_string((seconds + kMinute / 2) / kMinute) + " min";
    return std::to_string((seconds + kHour / 2) / kHour) + " h";
}

std::string DurationText(double seconds)
{
    constexpr double kLongest = 100 * 3600;
    if (!(seconds < kLongest))
        return "more than 99 hours";
    const int whole = static_cast<int>(std::lround(std::max(seconds, 0.0)));
    if (whole < 3600)
        return Formatted("%d:%02d", whole / 60, whole % 60);
    return Formatted("%d:%02d:%02d", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace vx
