// Menus: a flat bar that ends in a hairline, and white lists with a rounded mark under the pointed
// item.
#include "../LookSettings.h"
#include "../MethodReplacement.h"
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

@interface NSMenuItemCell (LibraryOwn)
- (NSString *)_keyEquivalentString;
@end

namespace palette = vx::palette;
namespace shapes = vx::shapes;

namespace {

constexpr float kPadding = 8;

using InitWithFrame = id (*)(id, SEL, NSRect);
InitWithFrame libraryInit = nullptr;

// Room at both sides of the titles; the library has a setting for it but no default that could be
// registered.
id initWithPadding(id view, SEL selector, NSRect frame)
{
    view = libraryInit(view, selector, frame);
    [(NSMenuView *)view setHorizontalEdgePadding:kPadding];
    return view;
}

using KeyText = NSString *(*)(id, SEL);
KeyText libraryKeyText = nullptr;

// "Ctrl+E" instead of the library's "Ctrl+e": as printed on the keys.
NSString *keyTextWithCapital(id cell, SEL selector)
{
    NSString *text = libraryKeyText(cell, selector);
    NSString *key = [[(NSMenuItemCell *)cell menuItem] keyEquivalent];
    if ([key length] != 1 || ![text hasSuffix:key])
        return text;
    NSString *modifiers = [text substringToIndex:[text length] - 1];
    return [modifiers stringByAppendingString:[key uppercaseString]];
}

}  // namespace

@implementation VXTheme (Menus)

+ (void)load
{
    libraryInit = reinterpret_cast<InitWithFrame>(vx::replaceMethod(
        [NSMenuView class], @selector(initWithFrame:), reinterpret_cast<IMP>(initWithPadding)));
    libraryKeyText = reinterpret_cast<KeyText>(
        vx::replaceMethod([NSMenuItemCell class], @selector(_keyEquivalentString),
                          reinterpret_cast<IMP>(keyTextWithCapital)));
}

// The library gives the bar to every window that can be main. One that cannot be put aside waits
// for an answer; the menu's commands have no place there.
- (void)setMenu:(NSMenu *)menu forWindow:(NSWindow *)window
{
    if (([window styleMask] & NSMiniaturizableWindowMask) != 0)
        [super setMenu:menu forWindow:window];
}

- (CGFloat)menuBarHeight
{
    return vx::scaled(26);
}

- (CGFloat)menuItemHeight
{
    return vx::scaled(24);
}

- (CGFloat)menuSeparatorHeight
{
    return 9;
}

- (CGFloat)menuSeparatorInset
{
    return 8;
}

- (NSColor *)menuBackgroundColor
{
    return palette::content();
}

- (NSColor *)menuItemBackgroundColor
{
    return palette::content();
}

- (NSColor *)menuBarBackgroundColor
{
    return palette::windowBackground();
}

- (BOOL)menuShouldShowIcon
{
    return NO;
}

- (void)drawBackgroundForMenuView:(NSMenuView *)menuView
                        withFrame:(NSRect)bounds
                        dirtyRect:(NSRect)dirtyRect
                       horizontal:(BOOL)horizontal
{
    if (!horizontal) {
        shapes::rectangle(bounds, palette::content());
        shapes::frame(bounds, palette::border());
        return;
    }
    shapes::rectangle(bounds, palette::windowBackground());
    NSRect line = bounds;
    line.size.height = 1;
    if ([menuView isFlipped])
        line.origin.y = NSMaxY(bounds) - 1;
    shapes::rectangle(line, palette::separator());
}

- (BOOL)drawsBorderForMenuItemCell:(NSMenuItemCell *)cell
                             state:(GSThemeControlState)state
                      isHorizontal:(BOOL)horizontal
{
    return NO;
}

- (void)drawBorderAndBackgroundForMenuItemCell:(NSMenuItemCell *)cell
                                     withFrame:(NSRect)frame
                                        inView:(NSView *)view
                                         state:(GSThemeControlState)state
                                  isHorizontal:(BOOL)isHorizontal
{
    if (state != GSThemeSelectedState && state != GSThemeHighlightedState)
        return;
    if (![cell isEnabled])
        return;
    shapes::plate(isHorizontal ? NSInsetRect(frame, 1, 3) : NSInsetRect(frame, 1, 0), 4,
                  palette::selection(), nil);
}

// In the bar the library begins the title at the item's very edge.
- (void)drawTitleForMenuItemCell:(NSMenuItemCell *)cell
                       withFrame:(NSRect)frame
                          inView:(NSView *)view
                           state:(GSThemeControlState)state
                    isHorizontal:(BOOL)isHorizontal
{
    [super drawTitleForMenuItemCell:cell
                          withFrame:isHorizontal ? NSOffsetRect(frame, kPadding, 0) : frame
                             inView:view
                              state:state
                       isHorizontal:isHorizontal];
}

@end
