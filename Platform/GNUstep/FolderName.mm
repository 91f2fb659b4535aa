#include "FolderName.h"

#include "LookSettings.h"
#include "PanelTexts.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

// The window, whose button follows what is typed.
@interface FolderNamePanel : NSPanel {
@public
    NSTextField *_name;
    NSButton *_confirm;
}
@end

namespace {

using vx::scaled;

// Points, for ordinary text.
constexpr CGFloat kWidth = 340, kHeight = 108, kMargin = 16, kGap = 9;
constexpr NSInteger kConfirmed = 1, kCancelled = 0;

NSString *localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

NSTextField *addField(NSView *view, CGFloat bottom, CGFloat height, NSString *text)
{
    const NSRect frame =
        NSMakeRect(scaled(kMargin), scaled(bottom), scaled(kWidth - 2 * kMargin), scaled(height));
    NSTextField *field = [[[NSTextField alloc] initWithFrame:frame] autorelease];
    [field setStringValue:text];
    [view addSubview:field];
    return field;
}

// Ends `right` points from the left.
NSButton *addButton(NSView *view, NSString *title, CGFloat right, id target, SEL action)
{
    NSButton *button = [[[NSButton alloc] initWithFrame:NSZeroRect] autorelease];
    [button setTitle:title];
    constexpr CGFloat kLeastWidth = 71, kHeightOfButton = 27, kLow = 10, kRoom = 24;
    const CGFloat width =
        std::max(std::ceil([[button cell] cellSize].width) + kRoom, scaled(kLeastWidth));
    [button setFrame:NSMakeRect(right - width, scaled(kLow), width, scaled(kHeightOfButton))];
    [button setTarget:target];
    [button setAction:action];
    [view addSubview:button];
    return button;
}

}  // namespace

@implementation FolderNamePanel

- (void)confirm:(id)sender
{
    [NSApp stopModalWithCode:kConfirmed];
}

- (void)cancel:(id)sender
{
    [NSApp stopModalWithCode:kCancelled];
}

- (void)controlTextDidChange:(NSNotification *)notification
{
    NSString *typed = [[[notification userInfo] objectForKey:@"NSFieldEditor"] string];
    [_confirm setEnabled:vx::isFolderName(typed)];
}

- (void)fill
{
    NSView *content = [self contentView];
    NSTextField *label = addField(content, 74, 18, vx::panelText(@"Name of the new folder:"));
    [label setEditable:NO];
    [label setBezeled:NO];
    [label setDrawsBackground:NO];
    _name = addField(content, 46, 22, vx::panelText(@"New Folder"));
    [_name setDelegate:(id)self];
    _confirm = addButton(content, vx::panelText(@"Create"), scaled(kWidth - kMargin), self,
                         @selector(confirm:));
    NSButton *cancel = addButton(content, localized(@"Cancel"), NSMinX([_confirm frame]) - kGap,
                                 self, @selector(cancel:));
    [cancel setKeyEquivalent:@"\e"];
    [self setDefaultButtonCell:[_confirm cell]];
    [self setInitialFirstResponder:_name];
}

@end

namespace vx {

bool isFolderName(NSString *name)
{
    constexpr NSUInteger kLongestName = 255;
    return [name length] > 0 && strlen([name fileSystemRepresentation]) <= kLongestName &&
           [name rangeOfString:@"/"].location == NSNotFound && ![name isEqualToString:@"."] &&
           ![name isEqualToString:@".."];
}

NSString *askForFolderName()
{
    AssertMainThread();
    FolderNamePanel *panel = [[[FolderNamePanel alloc]
        initWithContentRect:NSMakeRect(0, 0, scaled(kWidth), scaled(kHeight))
                  styleMask:NSTitledWindowMask
                    backing:NSBackingStoreBuffered
                      defer:YES] autorelease];
    [panel setReleasedWhenClosed:NO];
    [panel setTitle:vx::panelText(@"New Folder")];
    [panel fill];
    [panel center];
    [panel makeKeyAndOrderFront:nil];
    [panel->_name selectText:nil];
    const NSInteger code = [NSApp runModalForWindow:panel];
    NSString *name = [[[panel->_name stringValue] copy] autorelease];
    [panel orderOut:nil];
    return code == kConfirmed && isFolderName(name) ? name : nil;
}

}  // namespace vx
