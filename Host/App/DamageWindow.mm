#import "DamageWindow.h"

#include "HostTexts.h"
#include "LineText.h"
#include "ThreadChecks.h"

@implementation DamageWindow

@synthesize titleLabel = _titleLabel;
@synthesize remarkLabel = _remarkLabel;
@synthesize tableView = _tableView;
@synthesize saveButton = _saveButton;

- (id)init
{
    AssertMainThread();
    self = [super initWithWindowNibName:@"DamageWindow"];
    if (self != nil) {
        _list = new vx::DamageList;
        _volume = new std::string;
    }
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_tableView setDataSource:nil];
    [_titleLabel release];
    [_remarkLabel release];
    [_tableView release];
    [_saveButton release];
    delete _list;
    delete _volume;
    [super dealloc];
}

- (void)windowDidLoad
{
    AssertMainThread();
    [_tableView setDataSource:(id)self];
    for (NSTableColumn *column in [_tableView tableColumns]) {
        NSCell *header = [column headerCell];
        [header setStringValue:vx::Localized([header stringValue])];
    }
}

- (void)showList:(const vx::DamageList &)list ofVolume:(const std::string &)volume
{
    AssertMainThread();
    *_list = list;
    *_volume = volume;
    [self window];
    [self fitPaths];
    [_titleLabel setStringValue:vx::Localized("Not read in full: {1}", {vx::LineText(volume)})];
    std::string remarks;
    for (const std::string &remark : vx::DamageRemarks(list, vx::UserWording()))
        remarks += (remarks.empty() ? "" : "\n") + vx::LineText(remark);
    [_remarkLabel setStringValue:vx::TextOf(remarks)];
    [_remarkLabel setToolTip:vx::TextOf(remarks)];
    [self layOutBelowRemarks:!remarks.empty()];
    [_tableView reloadData];
    [self showWindow:nil];
    // Where another window came up just before it, a window manager may give the keyboard to that
    // one, or to none.
    constexpr NSTimeInterval kLateAnswers = 0.3;
    [self performSelector:@selector(takeKeyboard) withObject:nil afterDelay:kLateAnswers];
}

- (void)takeKeyboard
{
    AssertMainThread();
    NSWindow *window = [self window];
    if (![window isVisible])
        return;
    // One that counts as the key window already would not ask the window manager again.
    if ([window isKeyWindow])
        [window resignKeyWindow];
    [window makeKeyAndOrderFront:nil];
}

// Without remarks the list has their place, too.
- (void)layOutBelowRemarks:(BOOL)hasRemarks
{
    constexpr CGFloat kGap = 8;
    NSScrollView *scroller = [_tableView enclosingScrollView];
    const NSRect remarks = [_remarkLabel frame];
    NSRect frame = [scroller frame];
    frame.size.height = (hasRemarks ? NSMinY(remarks) - kGap : NSMaxY(remarks)) - NSMinY(frame);
    [scroller setFrame:frame];
}

- (void)windowDidResize:(NSNotification *)notification
{
    AssertMainThread();
    [self fitPaths];
}

// The other columns are as wide as their longest texts.
- (void)fitPaths
{
    NSTableColumn *paths = [_tableView tableColumnWithIdentifier:@"path"];
    const NSRect last = [_tableView rectOfColumn:[_tableView numberOfColumns] - 1];
    const CGFloat room = NSWidth([[[_tableView enclosingScrollView] contentView] bounds]);
    [paths setWidth:[paths width] + room - NSMaxX(last)];
}

- (NSInteger)numberOfRowsInTableView:(NSTableView *)table
{
    return static_cast<NSInteger>(_list->Rows().size());
}

- (id)tableView:(NSTableView *)table
    objectValueForTableColumn:(NSTableColumn *)column
                          row:(NSInteger)index
{
    AssertMainThread();
    const vx::ChannelDamage &row = _list->Rows()[static_cast<size_t>(index)];
    if ([[column identifier] isEqualToString:@"path"])
        return vx::TextOf(vx::LineText(row.path));
    const vx::Wording &wording = vx::UserWording();
    if ([[column identifier] isEqualToString:@"amount"])
        return vx::TextOf(vx::DamageAmount(row, wording));
    return vx::TextOf(vx::DamageReason(row, wording));
}

- (IBAction)save:(id)sender
{
    AssertMainThread();
    NSSavePanel *panel = [NSSavePanel savePanel];
    [panel setTitle:vx::Localized(@"Save")];
    [panel setNameFieldStringValue:vx::Localized(@"Not read in full.txt")];
    if ([panel runModal] == NSFileHandlingPanelOKButton)
        [self saveTo:[[panel URL] path]];
}

- (BOOL)saveTo:(NSString *)path
{
    AssertMainThread();
    const std::string text = vx::DamageFile(*_list, *_volume, vx::UserWording());
    NSData *bytes = [NSData dataWithBytes:text.data() length:text.size()];
    if ([bytes writeToFile:path atomically:YES])
        return YES;
    NSAlert *alert = [[[NSAlert alloc] init] autorelease];
    [alert setMessageText:vx::Localized(@"The list could not be saved.")];
    [alert setInformativeText:path];
    [alert addButtonWithTitle:vx::Localized(@"OK")];
    [alert runModal];
    return NO;
}

@end
