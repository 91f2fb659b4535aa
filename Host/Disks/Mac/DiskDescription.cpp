#include "DiskDescription.h"

#include <climits>
#include <cstring>
#include <vector>

namespace vx {
namespace {

std::string Utf8Of(CFStringRef text)
{
    const CFIndex units = CFStringGetLength(text);
    const CFIndex most = CFStringGetMaximumSizeForEncoding(units, kCFStringEncodingUTF8) + 1;
    std::vector<char> bytes(static_cast<size_t>(most));
    if (!CFStringGetCString(text, bytes.data(), most, kCFStringEncodingUTF8))
        return "";
    return bytes.data();
}

}  // namespace

CFTypeRef DiskDescription::Value(CFStringRef key, CFTypeID type) const
{
    if (!_values)
        return nullptr;
    const CFTypeRef value = CFDictionaryGetValue(_values.Get(), key);
    return value != nullptr && CFGetTypeID(value) == type ? value : nullptr;
}

std::string DiskDescription::Text(CFStringRef key) const
{
    const auto text = static_cast<CFStringRef>(Value(key, CFStringGetTypeID()));
    return text == nullptr ? "" : Utf8Of(text);
}

uint64_t DiskDescription::Number(CFStringRef key) const
{
    const auto number = static_cast<CFNumberRef>(Value(key, CFNumberGetTypeID()));
    int64_t value = 0;
    if (number == nullptr || !CFNumberGetValue(number, kCFNumberSInt64Type, &value) || value < 0)
        return 0;
    return static_cast<uint64_t>(value);
}

bool DiskDescription::Truth(CFStringRef key) const
{
    const auto truth = static_cast<CFBooleanRef>(Value(key, CFBooleanGetTypeID()));
    return truth != nullptr && CFBooleanGetValue(truth);
}

std::string DiskDescription::Path(CFStringRef key) const
{
    const auto url = static_cast<CFURLRef>(Value(key, CFURLGetTypeID()));
    UInt8 path[PATH_MAX];
    if (url == nullptr || !CFURLGetFileSystemRepresentation(url, true, path, sizeof(path)))
        return "";
    return reinterpret_cast<const char *>(path);
}

}  // namespace vx
