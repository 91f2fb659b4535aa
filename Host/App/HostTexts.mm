#include "HostTexts.h"

#include "NumberText.h"

namespace vx {
namespace {

std::string SizeOf(uint64_t bytes)
{
    const ScaledSize size = ScaleSize(bytes);
    NSString *number =
        [TextOf(size.number) stringByReplacingOccurrencesOfString:@"."
                                                       withString:Localized(@"DECIMAL_SIGN")];
    return BytesOf([NSString stringWithFormat:@"%@ %@", number, Localized(TextOf(size.unit))]);
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

id StoredPath(const std::string &path)
{
    NSString *text = TextOf(path);
    if (BytesOf(text) == path)
        return text;
    return [NSData dataWithBytes:path.data() length:path.size()];
}

std::string PathOf(id stored)
{
    if ([stored isKindOfClass:[NSString class]])
        return BytesOf(stored);
    if ([stored isKindOfClass:[NSData class]])
        return {static_cast<const char *>([stored bytes]), [stored length]};
    return "";
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
