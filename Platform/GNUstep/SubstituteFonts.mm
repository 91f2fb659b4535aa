#include "SubstituteFonts.h"

#import <AppKit/AppKit.h>

#include "MethodReplacement.h"
#include "ThreadChecks.h"

@interface NSMutableAttributedString (LibraryOwn)
- (NSFontDescriptor *)_substituteFontDescriptorFor:(unichar)character;
@end

namespace vx {
namespace {

using Lookup = NSFontDescriptor *(*)(id, SEL, unichar);

Lookup g_original;

// The descriptor with the font's name where the library reads the family's; nil, upon which the
// library tries one font after the other, if there is no font of that name.
NSFontDescriptor *descriptorWithFontName(id self, SEL selector, unichar character)
{
    NSFontDescriptor *found = g_original(self, selector, character);
    NSString *name = [found objectForKey:NSFontNameAttribute];
    if (name == nil || ![[[NSFontManager sharedFontManager] availableFonts] containsObject:name])
        return nil;
    return [found
        fontDescriptorByAddingAttributes:[NSDictionary dictionaryWithObject:name
                                                                     forKey:NSFontFamilyAttribute]];
}

using Fix = void (*)(id, SEL, NSRange);

Fix g_libraryFix;

bool isPair(NSString *text, NSUInteger at)
{
    return at + 1 < [text length] && ([text characterAtIndex:at] & 0xfc00) == 0xd800 &&
           ([text characterAtIndex:at + 1] & 0xfc00) == 0xdc00;
}

UTF32Char characterOf(NSString *text, NSUInteger at)
{
    const UTF32Char high = [text characterAtIndex:at], low = [text characterAtIndex:at + 1];
    return 0x10000 + ((high & 0x3ff) << 10 | (low & 0x3ff));
}

// An empty name if no font has it.
NSString *nameOfFontWith(UTF32Char character)
{
    NSCharacterSet *set = [NSCharacterSet characterSetWithRange:NSMakeRange(character, 1)];
    NSDictionary *wanted = [NSDictionary dictionaryWithObject:set
                                                       forKey:NSFontCharacterSetAttribute];
    NSFontDescriptor *found = [[NSFontDescriptor fontDescriptorWithFontAttributes:wanted]
        matchingFontDescriptorWithMandatoryKeys:[NSSet setWithObject:NSFontCharacterSetAttribute]];
    NSString *name = [found objectForKey:NSFontNameAttribute];
    const bool has =
        [[found objectForKey:NSFontCharacterSetAttribute] longCharacterIsMember:character];
    const bool available =
        name != nil && [[[NSFontManager sharedFontManager] availableFonts] containsObject:name];
    return has && available ? name : @"";
}

// Fonts are looked up once for each character; a search takes milliseconds.
NSString *keptNameOfFontWith(UTF32Char character)
{
    static NSMutableDictionary *const kept = [NSMutableDictionary new];
    NSNumber *key = [NSNumber numberWithUnsignedInt:character];
    NSString *name = [kept objectForKey:key];
    if (name == nil) {
        name = nameOfFontWith(character);
        [kept setObject:name forKey:key];
    }
    return name;
}

void fixPair(NSMutableAttributedString *text, NSUInteger at)
{
    NSFont *font = [text attribute:NSFontAttributeName atIndex:at effectiveRange:nullptr];
    const UTF32Char character = characterOf([text string], at);
    if (font == nil || [[font coveredCharacterSet] longCharacterIsMember:character])
        return;
    NSString *name = keptNameOfFontWith(character);
    if ([name length] == 0)
        return;
    NSFont *other = [NSFont fontWithName:name size:[font pointSize]];
    if (other != nil)
        [text addAttribute:NSFontAttributeName value:other range:NSMakeRange(at, 2)];
}

void fixFonts(id text, SEL selector, NSRange range)
{
    g_libraryFix(text, selector, range);
    NSString *characters = [text string];
    for (NSUInteger at = range.location; at < NSMaxRange(range); ++at)
        if (isPair(characters, at))
            fixPair(text, at++);
}

}  // namespace

void installSubstituteFonts()
{
    AssertMainThread();
    g_original = reinterpret_cast<Lookup>(
        replaceMethod([NSMutableAttributedString class], @selector(_substituteFontDescriptorFor:),
                      reinterpret_cast<IMP>(descriptorWithFontName)));
    g_libraryFix = reinterpret_cast<Fix>(replaceMethod([NSMutableAttributedString class],
                                                       @selector(fixFontAttributeInRange:),
                                                       reinterpret_cast<IMP>(fixFonts)));
}

}  // namespace vx
