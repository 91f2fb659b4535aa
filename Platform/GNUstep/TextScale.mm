#import "TextScale.h"

#include "LookSettings.h"
#include "MethodReplacement.h"
#include "ThreadChecks.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include <objc/runtime.h>

// The library's reader of interface files, which no header shows.
@interface GSXib5KeyedUnarchiver : NSObject
@end

namespace vx {
namespace {

using FontOfSize = NSFont *(*)(id, SEL, CGFloat);
using DidStartElement = void (*)(id, SEL, NSXMLParser *, NSString *, NSString *, NSString *,
                                 NSDictionary *);

// By name: a selector may have several addresses.
std::map<std::string, FontOfSize> &libraryFonts()
{
    static std::map<std::string, FontOfSize> fonts;
    return fonts;
}

DidStartElement libraryDidStart = nullptr;

constexpr CGFloat kHeightOfLine = 2;  // points at most
// What a window manager adds to a window's contents, in points.
constexpr CGFloat kFrameWidth = 20, kFrameHeight = 60;

NSFont *scaledFont(id fonts, SEL selector, CGFloat size)
{
    const FontOfSize library = libraryFonts()[sel_getName(selector)];
    // 0: the size that is set for the purpose.
    const CGFloat usual = size > 0 ? size : [library(fonts, selector, 0) pointSize];
    return library(fonts, selector, usual * textScale());
}

void didStartElement(id reader, SEL selector, NSXMLParser *parser, NSString *element,
                     NSString *space, NSString *qualified, NSDictionary *attributes)
{
    libraryDidStart(reader, selector, parser, element, space, qualified,
                    scaledAttributes(element, attributes, textScale(), roomOnScreen()));
}

// Edges that touch still touch: it is they that are rounded, not the width.
void scaleSpan(NSMutableDictionary *attributes, NSString *origin, NSString *length, CGFloat scale)
{
    const CGFloat begin = [[attributes objectForKey:origin] floatValue];
    const CGFloat end = begin + [[attributes objectForKey:length] floatValue];
    const CGFloat first = std::round(begin * scale), last = std::round(end * scale);
    if ([attributes objectForKey:origin] != nil)
        [attributes setObject:[NSString stringWithFormat:@"%g", first] forKey:origin];
    if ([attributes objectForKey:length] != nil)
        [attributes setObject:[NSString stringWithFormat:@"%g", last - first] forKey:length];
}

void limitLength(NSMutableDictionary *attributes, NSString *length, CGFloat most)
{
    const CGFloat least = std::min<CGFloat>([[attributes objectForKey:length] floatValue], most);
    [attributes setObject:[NSString stringWithFormat:@"%g", std::floor(least)] forKey:length];
}

NSArray *scaledNames(NSString *element)
{
    if ([element isEqualToString:@"tableColumn"])
        return @[ @"width", @"minWidth", @"maxWidth" ];
    if ([element isEqualToString:@"tableView"] || [element isEqualToString:@"outlineView"])
        return @[ @"rowHeight" ];
    return @[];
}

}  // namespace

NSDictionary *scaledAttributes(NSString *element, NSDictionary *attributes, CGFloat scale,
                               NSSize screen)
{
    AssertMainThread();
    NSMutableDictionary *result = [[attributes mutableCopy] autorelease];
    const bool isScreen = [[attributes objectForKey:@"key"] isEqual:@"screenRect"];
    if (!isScreen && [@[ @"rect", @"size", @"point", @"value" ] containsObject:element]) {
        scaleSpan(result, @"x", @"width", scale);
        scaleSpan(result, @"y", @"height", scale);
    }
    if ([[attributes objectForKey:@"key"] isEqual:@"contentRect"]) {
        limitLength(result, @"width", screen.width - kFrameWidth);
        limitLength(result, @"height", screen.height - kFrameHeight);
    }
    for (NSString *name in scaledNames(element))
        if ([attributes objectForKey:name] != nil)
            scaleSpan(result, @"", name, scale);
    return result;
}

void scaleSubviews(NSView *view, CGFloat scale)
{
    AssertMainThread();
    for (NSView *part in [view subviews]) {
        const NSRect frame = [part frame], bounds = [part bounds];
        const bool isLine = NSHeight(frame) <= kHeightOfLine;
        const BOOL follows = [part autoresizesSubviews];
        [part setAutoresizesSubviews:NO];
        [part setFrame:NSMakeRect(std::round(NSMinX(frame) * scale),
                                  std::round(NSMinY(frame) * scale),
                                  std::round(NSWidth(frame) * scale),
                                  isLine ? NSHeight(frame) : std::round(NSHeight(frame) * scale))];
        [part setBoundsOrigin:NSMakePoint(std::round(NSMinX(bounds) * scale),
                                          std::round(NSMinY(bounds) * scale))];
        [part setAutoresizesSubviews:follows];
        if (![part isKindOfClass:[NSControl class]] && ![part isKindOfClass:[NSScrollView class]])
            scaleSubviews(part, scale);
    }
}

void installTextScale()
{
    AssertMainThread();
    if (textScale() == 1 || libraryDidStart != nullptr)
        return;
    Class fonts = object_getClass([NSFont class]);
    for (NSString *name in @[
             @"systemFontOfSize:", @"boldSystemFontOfSize:", @"userFontOfSize:",
             @"userFixedPitchFontOfSize:", @"controlContentFontOfSize:", @"labelFontOfSize:",
             @"menuFontOfSize:", @"menuBarFontOfSize:", @"messageFontOfSize:",
             @"paletteFontOfSize:", @"titleBarFontOfSize:", @"toolTipsFontOfSize:"
         ]) {
        const SEL selector = NSSelectorFromString(name);
        libraryFonts()[sel_getName(selector)] = reinterpret_cast<FontOfSize>(
            replaceMethod(fonts, selector, reinterpret_cast<IMP>(scaledFont)));
    }
    libraryDidStart = reinterpret_cast<DidStartElement>(
        replaceMethod([GSXib5KeyedUnarchiver class],
                      @selector(parser:didStartElement:namespaceURI:qualifiedName:attributes:),
                      reinterpret_cast<IMP>(didStartElement)));
}

}  // namespace vx
