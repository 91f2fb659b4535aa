#import "InterfaceTexts.h"

#include "ThreadChecks.h"

namespace {

NSString *localized(NSString *text)
{
    if ([text length] == 0)
        return text;
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

void localizeMenu(NSMenu *menu)
{
    [menu setTitle:localized([menu title])];
    for (NSMenuItem *item in [menu itemArray]) {
        if ([item isSeparatorItem])
            continue;
        [item setTitle:localized([item title])];
        if ([item hasSubmenu])
            localizeMenu([item submenu]);
    }
}

// Of a view or of its cell, to which a control's description belongs. By key, because not every
// platform has one.
void localizeDescription(id element)
{
    if ([element respondsToSelector:@selector(setAccessibilityLabel:)])
        [element setValue:localized([element valueForKey:@"accessibilityLabel"])
                   forKey:@"accessibilityLabel"];
}

void localizeView(NSView *view)
{
    if ([view toolTip] != nil)
        [view setToolTip:localized([view toolTip])];
    localizeDescription(view);
    if ([view isKindOfClass:[NSControl class]])
        localizeDescription([(NSControl *)view cell]);
    if ([view isKindOfClass:[NSTextField class]])
        [(NSTextField *)view setStringValue:localized([(NSTextField *)view stringValue])];
    if ([view isKindOfClass:[NSButton class]])
        [(NSButton *)view setTitle:localized([(NSButton *)view title])];
    for (NSView *subview in [view subviews])
        localizeView(subview);
}

}  // namespace

@implementation InterfaceTexts

@synthesize menu = _menu;
@synthesize window = _window;
@synthesize view = _view;

- (void)dealloc
{
    [_menu release];
    [_window release];
    [_view release];
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    if (_menu != nil)
        localizeMenu(_menu);
    [_window setTitle:localized([_window title])];
    localizeView(_view);
}

@end
