#import "Utf16Text.h"

static_assert(sizeof(unichar) == sizeof(char16_t), "the platform's unit is a UTF-16 unit");

std::u16string Utf16Text(NSString *text)
{
    const NSUInteger length = [text length];
    std::u16string units(length, u'\0');
    if (length > 0)
        [text getCharacters:reinterpret_cast<unichar *>(&units[0]) range:NSMakeRange(0, length)];
    return units;
}
