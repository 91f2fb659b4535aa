#include "HostTexts.h"

namespace vx {
namespace {

// Bytes have no decimals.
std::string SizeOf(uint64_t bytes)
{
    static NSString *const kUnits[] = {@"bytes", @"KiB", @"MiB", @"GiB", @"TiB", @"PiB", @"EiB"};
    double number = static_cast<double>(bytes);
    size_t unit = 0;
    for (; number >= 1024 && unit + 1 < std::size(kUnits); ++unit)
        number /= 1024;
    NSString *form = unit == 0 ? @"%.0f %@" : @"%.1f %@";
    NSString *size = [NSString stringWithFormat:form, number, Localized(kUnits[unit])];
    return BytesOf([size stringByReplacingOccurrencesOfString:@"."
                                                   withString:Localized(@"DECIMAL_SIGN")]);
}

}  // namespace

NSString *TextOf(const std::string &text)
{
    NSString *string = [[[NSString alloc] initWithBytes:text.data()
                                                 length:text.size()
                                               encoding:NSUTF8StringEncoding] autorelease];
    if (string != nil)
        return string;
    return [[[NSString alloc] initWithBytes:text.data()
                                     length:text.size()
                                   encoding:NSISOLatin1StringEncoding] autorelease];
}

std::string BytesOf(NSString *text)
{
    const char *bytes = [text UTF8String];
    return bytes == nullptr ? "" : bytes;
}

NSString *Localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

NSString *Localized(const char *key, const std::vector<std::string> &arguments)
{
    return TextOf(UserWording().Text(key, arguments));
}

const Wording &UserWording()
{
    static const Wording wording = {
        [](const std::string &key) { return BytesOf(Localized(TextOf(key))); }, SizeOf};
    return wording;
}

}  // namespace vx
