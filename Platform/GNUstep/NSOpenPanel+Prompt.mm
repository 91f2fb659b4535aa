// The prompt of an open panel titles its confirming button, as on macOS; the library titles the
// label before the name field with it. The panel also loses its two buttons for removable media,
// which do nothing on current desktops, and gains what PanelParts.h lists. It opens on the folder
// it was left in, centred over its window, says so if it is for folders alone, and a folder or file
// whose path is typed can be confirmed. A category overrides the library's methods for every open
// panel, with any theme.
#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

#include "MethodReplacement.h"
#import "PanelParts.h"

@interface NSWindow (Sheets)
- (void)setAttachedSheet:(id)sheet;
@end

@interface NSSavePanel (Defaults)
- (void)_resetDefaults;
- (void)_setupForDirectory:(NSString *)path file:(NSString *)name;
@end

@interface NSOpenPanel (TypedPath)
- (BOOL)selectFileNamed:(NSString *)path;
@end

namespace {

IMP libraryTextDidChange = nullptr;

// Of the one panel.
PanelParts *g_parts = nil;

enum class Typed { kNothing, kFolder, kFile };

Typed whatIsTyped(NSString *path)
{
    BOOL folder = NO;
    if (![path isAbsolutePath] ||
        ![[NSFileManager defaultManager] fileExistsAtPath:[path stringByStandardizingPath]
                                              isDirectory:&folder])
        return Typed::kNothing;
    return folder ? Typed::kFolder : Typed::kFile;
}

// The library shows the folder whose path is typed, but leaves the button off because no row of the
// folder is selected; of a file it shows the folder that it is in. A path that leads to nothing
// keeps it off: the browser then still shows the last folder on the way, which is not what was
// typed.
void textDidChange(id panel, SEL selector, NSNotification *notification)
{
    reinterpret_cast<void (*)(id, SEL, id)>(libraryTextDidChange)(panel, selector, notification);
    NSString *typed = [[[notification userInfo] objectForKey:@"NSFieldEditor"] string];
    const Typed what = whatIsTyped(typed);
    const bool isChosen = what == Typed::kFolder
                              ? [panel canChooseDirectories]
                              : what == Typed::kFile && [panel selectFileNamed:typed];
    if (isChosen) {
        NSView *button = [[panel contentView] viewWithTag:NSFileHandlingPanelOKButton];
        [(NSButton *)button setEnabled:YES];
    }
}

CGFloat widthOf(NSButton *button)
{
    constexpr CGFloat kLeastWidth = 71, kMargin = 12;
    return std::max(std::ceil([[button cell] cellSize].width) + 2 * kMargin, kLeastWidth);
}

NSString *localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

NSPoint centredOver(NSWindow *window, NSSize size)
{
    const NSRect below = [window frame], screen = [[window screen] visibleFrame];
    const CGFloat left = NSMidX(below) - size.width / 2, low = NSMidY(below) - size.height / 2;
    const CGFloat x = std::min(left, NSMaxX(screen) - size.width);
    const CGFloat y = std::min(low, NSMaxY(screen) - size.height);
    return NSMakePoint(std::floor(std::max(x, NSMinX(screen))),
                       std::floor(std::max(y, NSMinY(screen))));
}

}  // namespace

@implementation NSOpenPanel (Prompt)

// In the folder on view. NO if it is not listed, or files are not chosen.
- (BOOL)selectFileNamed:(NSString *)path
{
    const NSInteger column = [_browser lastColumn];
    NSMatrix *rows = [_browser matrixInColumn:column];
    for (NSInteger row = 0;[self canChooseFiles] && row < [rows numberOfRows]; ++row) {
        if (![[[rows cellAtRow:row column:0] stringValue] isEqualToString:[path lastPathComponent]])
            continue;
        [_browser selectRow:row inColumn:column];
        return YES;
    }
    return NO;
}

- (NSString *)prompt
{
    return [_okButton title];
}

- (void)setPrompt:(NSString *)prompt
{
    [_okButton setTitle:prompt];
    [self layOutButtons];
}

// From the right edge to the left: every button as wide as its title needs it.
- (void)layOutButtons
{
    constexpr CGFloat kGap = 9;
    CGFloat right = NSMaxX([_okButton frame]);
    NSButton *const buttons[] = {_okButton,
                                 [[self contentView] viewWithTag:NSFileHandlingPanelCancelButton]};
    for (NSButton *button : buttons) {
        NSRect frame = [button frame];
        frame.size.width = widthOf(button);
        frame.origin.x = right - frame.size.width;
        [button setFrame:frame];
        right = NSMinX(frame) - kGap;
    }
    [[_okButton superview] setNeedsDisplay:YES];
}

- (void)hideSmallButtons
{
    NSView *disk = [[self contentView] viewWithTag:NSFileHandlingPanelDiskButton];
    NSView *eject = [[self contentView] viewWithTag:NSFileHandlingPanelDiskEjectButton];
    if (disk == nil || [disk isHidden])
        return;
    [disk setHidden:YES];
    [eject setHidden:YES];
    // The first of the places.
    [[[self contentView] viewWithTag:NSFileHandlingPanelHomeButton] setHidden:YES];
}

// Called whenever the shared panel is handed out again. The library then passes its own label text
// to setPrompt:.
- (void)_resetDefaults
{
    if (libraryTextDidChange == nullptr)
        libraryTextDidChange = vx::replaceMethod(
            [NSOpenPanel class], @selector(controlTextDidChange:), (IMP)textDidChange);
    [super _resetDefaults];
    if (g_parts == nil)
        g_parts = [[PanelParts alloc] initWithPanel:self];
    [self setNameFieldLabel:[self prompt]];
    [self setTitle:localized(@"Open")];
    NSView *content = [self contentView];
    [[content viewWithTag:NSFileHandlingPanelCancelButton] setTitle:localized(@"Cancel")];
    [self setPrompt:[self title]];
    [self setCanChooseFiles:YES];
    [self setCanChooseDirectories:YES];
    [self setAllowsMultipleSelection:NO];
    [self hideSmallButtons];
    [_okButton setEnabled:NO];
    [g_parts showWithNewFolders:NO];
    // A hidden window has lost its decorations on the desktop: a frame that is set without them
    // comes back too large.
    [self setOneShot:YES];
}

// The growth of a panel that is not shown yet is not visible; it would continue after the panel was
// placed, and end where the panel was before.
- (void)setFrame:(NSRect)frame display:(BOOL)display animate:(BOOL)animate
{
    [super setFrame:frame display:display animate:animate && [self isVisible]];
}

- (void)showFolder:(NSString *)path
{
    [self _setupForDirectory:path file:@""];
    [_form selectTextAtIndex:0];
    [_okButton setEnabled:_canChooseDirectories];
}

// The library would show the root folder, with the confirming button off; it writes the folder
// shown after the caret, where a path that is typed would be added to it. It centres a panel that
// is not up yet on the screen, so this one is put up first.
- (void)beginSheetModalForWindow:(NSWindow *)window
               completionHandler:(GSSavePanelCompletionHandler)handler
{
    if (![self canChooseFiles])
        [self setTitle:localized(@"Choose a Folder")];
    [g_parts showWithNewFolders:![self canChooseFiles]];
    [self _setupForDirectory:[self directory] file:@""];
    [_form selectTextAtIndex:0];
    if (window != nil) {
        [self setFrameOrigin:centredOver(window, [self frame].size)];
        [self setParentWindow:window];
        [self orderFront:self];
    }
    [window setAttachedSheet:self];
    const NSInteger result = [NSApp runModalForWindow:self];
    [window setAttachedSheet:nil];
    handler(result);
}

@end
