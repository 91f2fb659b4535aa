// Alerts: the picture at the left, the message in bold with the explanation below it, the buttons
// at the lower right; no dividing line, and the program's name in the title bar.
#include "../LookSettings.h"
#include "../MethodReplacement.h"
#import "ThemePalette.h"
#import "VXTheme.h"

#include <algorithm>
#include <cmath>

// The library's own class, which no header shows.
@interface GSAlertPanel : NSPanel
- (void)sizePanelToFit;
@end

namespace {

// Points, as for ordinary text.
constexpr CGFloat kMargin = 20, kIconSide = 48, kIconGap = 16, kTextGap = 8, kButtonsGap = 20;
constexpr CGFloat kTextLeft = kMargin + kIconSide + kIconGap;
constexpr CGFloat kLeastTextWidth = 300, kMostTextWidth = 420;
constexpr CGFloat kLeastButtonWidth = 84, kButtonHeight = 28, kButtonMargin = 14, kButtonGap = 10;
// A higher explanation scrolls, as the library lays it out.
constexpr CGFloat kMostTextHeight = 300;

using SizePanelToFit = void (*)(id, SEL);
SizePanelToFit librarySize = nullptr;

NSSize sizeOf(NSTextField *field)
{
    NSAttributedString *text = [field attributedStringValue];
    const NSRect bounds = [text boundingRectWithSize:NSMakeSize(vx::scaled(kMostTextWidth), 1e6)
                                             options:NSStringDrawingOptions(0)];
    // The library's own measure falls short by fractions of a point.
    return NSMakeSize(std::ceil(bounds.size.width) + 4, std::ceil(bounds.size.height) + 2);
}

void setText(NSTextField *field, NSFont *font)
{
    [field setFont:font];
    [[field cell] setWraps:YES];
    [field setAlignment:NSLeftTextAlignment];
}

// From the right edge; returns how wide all of them are.
CGFloat placeButtons(GSAlertPanel *panel, CGFloat right)
{
    CGFloat left = right;
    for (NSString *name in @[ @"defButton", @"altButton", @"othButton" ]) {
        NSButton *button = [panel valueForKey:name];
        if ([button superview] == nil)
            continue;
        const CGFloat title = std::ceil([[button cell] cellSize].width);
        const CGFloat width = std::max(title + 2 * kButtonMargin, kLeastButtonWidth);
        [button setFrame:NSMakeRect(left - width, kMargin, width, vx::scaled(kButtonHeight))];
        left -= width + kButtonGap;
    }
    return right - left;
}

void hideLine(NSView *content)
{
    for (NSView *view in [content subviews])
        if ([view isKindOfClass:[NSBox class]])
            [view setHidden:YES];
}

NSString *localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

void resize(GSAlertPanel *panel, NSSize size)
{
    const NSRect frame = [NSWindow frameRectForContentRect:NSMakeRect(0, 0, size.width, size.height)
                                                 styleMask:[panel styleMask]];
    [panel setMinSize:frame.size];
    [panel setMaxSize:frame.size];
    [panel setContentSize:size];
}

void sizePanelToFit(id panel, SEL selector)
{
    librarySize(panel, selector);
    NSTextField *title = [panel valueForKey:@"titleField"];
    NSTextField *message = [panel valueForKey:@"messageField"];
    setText(title, [NSFont boldSystemFontOfSize:[NSFont systemFontSize] + 1]);
    setText(message, [NSFont systemFontOfSize:0]);
    const NSSize titleSize = sizeOf(title), messageSize = sizeOf(message);
    if ([message superview] != [panel contentView] || messageSize.height > kMostTextHeight)
        return;

    const CGFloat text = std::max({titleSize.width, messageSize.width, kLeastTextWidth});
    const CGFloat buttons = placeButtons(panel, 0) + 2 * kMargin;
    const CGFloat width = std::max(kTextLeft + text + kMargin, buttons);
    const CGFloat high = std::max(titleSize.height + kTextGap + messageSize.height, kIconSide);
    const CGFloat top = kMargin + vx::scaled(kButtonHeight) + kButtonsGap + high;
    resize(panel, NSMakeSize(width, top + kMargin));
    hideLine([panel contentView]);
    [[panel valueForKey:@"icoButton"]
        setFrame:NSMakeRect(kMargin, top - kIconSide, kIconSide, kIconSide)];
    [title setFrame:NSMakeRect(kTextLeft, top - titleSize.height, text, titleSize.height)];
    [message setFrame:NSMakeRect(kTextLeft, top - titleSize.height - kTextGap - messageSize.height,
                                 text, messageSize.height)];
    placeButtons(panel, width - kMargin);
    [panel setTitle:localized([panel title])];
}

}  // namespace

@implementation VXTheme (Alerts)

+ (void)load
{
    librarySize = reinterpret_cast<SizePanelToFit>(vx::replaceMethod(
        [GSAlertPanel class], @selector(sizePanelToFit), reinterpret_cast<IMP>(sizePanelToFit)));
}

@end
