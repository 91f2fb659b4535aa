#include "SupplementaryGlyphs.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

#include <dlfcn.h>

#include <algorithm>
#include <vector>

// The library's own class for a font, whose name and methods it does not publish.
@interface NSObject (LibraryFont)
- (CGFloat)widthOfString:(NSString *)text;
@end

namespace vx {
namespace {

using Draw = void (*)(id, SEL, const NSGlyph *, int, void *);
using Advance = NSSize (*)(id, SEL, NSGlyph);
// As Cairo declares it: drawing context, text in UTF-8.
using ShowText = void (*)(void *, const char *);
using Generate = void (*)(id, SEL, id<NSGlyphStorage>, NSUInteger, NSUInteger *, NSUInteger *);

Draw g_libraryDraw = nullptr;
Advance g_libraryAdvance = nullptr;
ShowText g_showText = nullptr;
Generate g_libraryGenerate = nullptr;

// A glyph is the number of its character.
bool isSupplementary(NSGlyph glyph)
{
    constexpr NSGlyph kLastOfFirstPlane = 0xffff, kLastCharacter = 0x10ffff;
    return glyph > kLastOfFirstPlane && glyph <= kLastCharacter;
}

NSString *textOf(const NSGlyph *glyphs, size_t count)
{
    const std::vector<uint32_t> characters(glyphs, glyphs + count);
    return [[[NSString alloc] initWithBytes:characters.data()
                                     length:characters.size() * sizeof(uint32_t)
                                   encoding:NSUTF32LittleEndianStringEncoding] autorelease];
}

void draw(id font, SEL selector, const NSGlyph *glyphs, int length, void *context)
{
    const int count = std::max(length, 0);
    if (std::none_of(glyphs, glyphs + count, isSupplementary)) {
        g_libraryDraw(font, selector, glyphs, length, context);
        return;
    }
    // Without glyphs it sets the font, no more.
    g_libraryDraw(font, selector, glyphs, 0, context);
    const char *const text = [textOf(glyphs, static_cast<size_t>(count)) UTF8String];
    if (text != nullptr)
        g_showText(context, text);
}

NSSize advance(id font, SEL selector, NSGlyph glyph)
{
    if (!isSupplementary(glyph))
        return g_libraryAdvance(font, selector, glyph);
    return NSMakeSize([font widthOfString:textOf(&glyph, 1)], 0);
}

bool isPair(NSString *text, NSUInteger at, NSUInteger end)
{
    return at + 1 < end && ([text characterAtIndex:at] & 0xfc00) == 0xd800 &&
           ([text characterAtIndex:at + 1] & 0xfc00) == 0xdc00;
}

NSUInteger endBeforePair(NSString *text, NSUInteger from, NSUInteger end)
{
    NSUInteger at = from;
    while (at < end && !isPair(text, at, end))
        ++at;
    return at;
}

NSGlyph glyphOfPair(NSAttributedString *text, NSUInteger at)
{
    const NSGlyph high = [[text string] characterAtIndex:at] & 0x3ff;
    const NSGlyph low = [[text string] characterAtIndex:at + 1] & 0x3ff;
    const NSGlyph character = 0x10000 + (high << 10 | low);
    NSFont *font = [text attribute:NSFontAttributeName atIndex:at effectiveRange:nullptr];
    return [[font coveredCharacterSet] longCharacterIsMember:character] ? character : '?';
}

// The library makes the glyphs between the pairs. `glyph` and `index` are the places reached.
void generate(id generator, SEL selector, id<NSGlyphStorage> storage, NSUInteger count,
              NSUInteger *glyph, NSUInteger *index)
{
    NSAttributedString *text = [storage attributedString];
    const NSUInteger end = *index + count;
    while (*index < end) {
        const NSUInteger plainEnd = endBeforePair([text string], *index, end);
        if (plainEnd > *index) {
            const NSUInteger before = *index;
            g_libraryGenerate(generator, selector, storage, plainEnd - before, glyph, index);
            if (*index == before)
                return;
            // It counts one character too many.
            *index = std::min(*index, plainEnd);
            continue;
        }
        const NSGlyph pair = glyphOfPair(text, *index);
        [storage insertGlyphs:&pair length:1 forStartingGlyphAtIndex:*glyph characterIndex:*index];
        *glyph += 1;
        *index += 2;
    }
}

}  // namespace

void installSupplementaryGlyphs()
{
    AssertMainThread();
    if (g_libraryDraw != nullptr)
        return;
    const Class font = NSClassFromString(@"CairoFontInfo");
    // The library has loaded it.
    void *const cairo = dlopen("libcairo.so.2", RTLD_NOW | RTLD_NOLOAD);
    g_showText =
        cairo == nullptr ? nullptr : reinterpret_cast<ShowText>(dlsym(cairo, "cairo_show_text"));
    const SEL drawing = NSSelectorFromString(@"drawGlyphs:length:on:");
    if (g_showText == nullptr || ![font instancesRespondToSelector:drawing])
        return;
    g_libraryDraw =
        reinterpret_cast<Draw>(replaceMethod(font, drawing, reinterpret_cast<IMP>(draw)));
    g_libraryAdvance = reinterpret_cast<Advance>(
        replaceMethod(font, @selector(advancementForGlyph:), reinterpret_cast<IMP>(advance)));
    const SEL generating = NSSelectorFromString(
        @"generateGlyphsForGlyphStorage:desiredNumberOfCharacters:glyphIndex:characterIndex:");
    g_libraryGenerate = reinterpret_cast<Generate>(
        replaceMethod([NSGlyphGenerator class], generating, reinterpret_cast<IMP>(generate)));
}

}  // namespace vx
