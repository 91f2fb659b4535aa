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

}  // namespace

void installSubstituteFonts()
{
    AssertMainThread();
    g_original = reinterpret_cast<Lookup>(
        replaceMethod([NSMutableAttributedString class], @selector(_substituteFontDescriptorFor:),
                      reinterpret_cast<IMP>(descriptorWithFontName)));
}

}  // namespace vx
