#import "GalleryController.h"

#import <CoreGraphics/CoreGraphics.h>

namespace {

NSTextField *Label(NSString *text, NSRect frame)
{
    NSTextField *field = [[[NSTextField alloc] initWithFrame:frame] autorelease];
    [field setStringValue:text];
    [field setEditable:NO];
    [field setSelectable:NO];
    [field setBezeled:NO];
    [field setBordered:NO];
    [field setDrawsBackground:NO];
    return field;
}

NSButton *Button(NSString *title, NSRect frame, NSString *key)
{
    NSButton *made = [[[NSButton alloc] initWithFrame:frame] autorelease];
    [made setTitle:title];
    [made setBezelStyle:NSRoundedBezelStyle];
    [made setKeyEquivalent:key];
    return made;
}

NSWindow *NewWindow(NSSize size, NSString *title)
{
    NSWindow *window =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(80, 160, size.width, size.height)
                                    styleMask:NSTitledWindowMask | NSClosableWindowMask |
                                              NSMiniaturizableWindowMask | NSResizableWindowMask
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    [window setTitle:title];
    return window;
}

void AddMenu(NSMenu *bar, NSString *title, NSArray *items)
{
    NSMenu *menu = [[[NSMenu alloc] initWithTitle:title] autorelease];
    for (NSString *item in items) {
        if ([item isEqualToString:@"-"])
            [menu addItem:[NSMenuItem separatorItem]];
        else
            [menu addItemWithTitle:item
                            action:@selector(chosen:)
                     keyEquivalent:[[item substringToIndex:1] lowercaseString]];
    }
    [bar setSubmenu:menu forItem:[bar addItemWithTitle:title action:NULL keyEquivalent:@""]];
}

}  // namespace

// A name with its icon, as the program's own cell draws them.
@interface GalleryNameCell : NSTextFieldCell
@end

@implementation GalleryNameCell

- (void)drawWithFrame:(NSRect)frame inView:(NSView *)view
{
    NSString *name = [self stringValue];
    NSImage *icon = [[name pathExtension] length] == 0
                        ? [NSImage imageNamed:@"folder"]
                        : [[NSWorkspace sharedWorkspace] iconForFileType:[name pathExtension]];
    NSRect image, text;
    NSDivideRect(frame, &image, &text, 19, NSMinXEdge);
    image =
        NSMakeRect(image.origin.x + 3, image.origin.y + (frame.size.height - 16) / 2 - 1, 16, 16);
    [icon drawInRect:image
              fromRect:NSZeroRect
             operation:NSCompositeSourceOver
              fraction:1
        respectFlipped:YES
                 hints:nil];
    [super drawWithFrame:text inView:view];
}

@end

@implementation GalleryController

- (void)dealloc
{
    [_window release];
    [_outline release];
    [_rows release];
    [super dealloc];
}

// Shows that a menu's item or its key has been understood.
- (void)chosen:(id)sender
{
    [_window setTitle:[sender title]];
}

- (void)makeMenu
{
    NSMenu *bar = [[[NSMenu alloc] initWithTitle:@"Gallery"] autorelease];
    AddMenu(bar, @"File Explorer", @[ @"About File Explorer", @"-", @"Hide", @"-", @"Quit" ]);
    AddMenu(bar, @"Edit", @[ @"Copy", @"Select All" ]);
    AddMenu(bar, @"Window", @[ @"Minimise", @"Close" ]);
    [NSApp setMainMenu:bar];
}

- (void)makeRows
{
    NSArray *names = @[
        @"Documents", @"Pictures", @"Music", @"Annual report.docx", @"Letter.txt", @"Holiday.jpg",
        @"Song.mp3", @"Film.mp4", @"Backup.zip", @"setup.exe", @"Invoice.pdf", @"Budget.xlsx",
        @"Talk.pptx", @"main.cpp", @"unknown.xyz"
    ];
    NSMutableArray *rows = [NSMutableArray array];
    for (NSUInteger i = 0; i < 50; ++i)
        [rows addObject:[names objectAtIndex:i % [names count]]];
    _rows = [rows copy];
}

- (void)addColumn:(NSString *)title width:(CGFloat)width
{
    NSTableColumn *column = [[[NSTableColumn alloc] initWithIdentifier:title] autorelease];
    [[column headerCell] setStringValue:title];
    [column setWidth:width];
    [column setEditable:NO];
    if ([title isEqualToString:@"Size"])
        [[column dataCell] setAlignment:NSRightTextAlignment];
    [_outline addTableColumn:column];
    [[column headerCell]
        setAlignment:[title isEqualToString:@"Size"] ? NSRightTextAlignment : NSLeftTextAlignment];
    if ([title isEqualToString:@"File Name"]) {
        [column setDataCell:[[GalleryNameCell new] autorelease]];
        [_outline setOutlineTableColumn:column];
    }
}

- (NSView *)makeOutline:(NSRect)frame
{
    NSScrollView *scroll = [[[NSScrollView alloc] initWithFrame:frame] autorelease];
    [scroll setHasVerticalScroller:YES];
    [scroll setHasHorizontalScroller:YES];
    [scroll setBorderType:NSBezelBorder];
    [scroll setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
    _outline = [[NSOutlineView alloc] initWithFrame:NSMakeRect(0, 0, 100, 100)];
    [_outline setUsesAlternatingRowBackgroundColors:YES];
    [_outline setAllowsMultipleSelection:YES];
    [_outline setRowHeight:22];
    [scroll setAutohidesScrollers:YES];
    [self addColumn:@"File Name" width:330];
    [self addColumn:@"Date Modified" width:170];
    [self addColumn:@"Size" width:100];
    [self addColumn:@"Kind" width:80];
    [_outline setDataSource:(id)self];
    [_outline setDelegate:(id)self];
    [scroll setDocumentView:_outline];
    return scroll;
}

- (void)makeWindow
{
    _window = NewWindow(NSMakeSize(760, 480), @"File Explorer");
    NSView *content = [_window contentView];
    const NSSize size = [content frame].size;
    [content addSubview:[self makeOutline:NSMakeRect(16, 60, size.width - 32, size.height - 76)]];
    [content addSubview:Label(@"Letter.txt", NSMakeRect(16, 20, 80, 20))];
    NSProgressIndicator *bar =
        [[[NSProgressIndicator alloc] initWithFrame:NSMakeRect(100, 20, 250, 20)] autorelease];
    [bar setIndeterminate:NO];
    [bar setDoubleValue:40];
    [content addSubview:bar];
    [content addSubview:Button(@"Cancel", NSMakeRect(size.width - 232, 14, 100, 32), @"")];
    NSButton *dead = Button(@"Disabled", NSMakeRect(size.width - 340, 14, 100, 32), @"");
    [dead setEnabled:NO];
    [content addSubview:dead];
    [content addSubview:Button(@"Export", NSMakeRect(size.width - 116, 14, 100, 32), @"\r")];
    [_outline reloadData];
    [_outline expandItem:[_outline itemAtRow:1]];
    [_outline selectRowIndexes:[NSIndexSet indexSetWithIndexesInRange:NSMakeRange(4, 3)]
          byExtendingSelection:NO];
    [_window makeKeyAndOrderFront:nil];
}

- (void)show:(NSString *)what
{
    [self makeMenu];
    [self makeRows];
    [self makeWindow];
    [self performSelector:NSSelectorFromString([what stringByAppendingString:@"Shown"])
               withObject:nil
               afterDelay:0.5];
}

- (void)windowShown
{
}

- (void)alertShown
{
    NSAlert *alert =
        [NSAlert alertWithMessageText:@"No access right."
                        defaultButton:@"Yes"
                      alternateButton:@"Cancel"
                          otherButton:nil
            informativeTextWithFormat:@"Can't access this location, please select another."];
    [alert setIcon:[NSImage imageNamed:@"warning"]];
    [alert runModal];
}

- (void)progressShown
{
    NSWindow *window = NewWindow(NSMakeSize(420, 132), @"Exporting");
    NSView *content = [window contentView];
    NSImageView *icon =
        [[[NSImageView alloc] initWithFrame:NSMakeRect(16, 84, 32, 32)] autorelease];
    [icon setImage:[[NSWorkspace sharedWorkspace] iconForFileType:@"jpg"]];
    [icon setImageScaling:NSImageScaleProportionallyUpOrDown];
    [content addSubview:icon];
    [content addSubview:Label(@"Copying /Pictures/Holiday.jpg", NSMakeRect(60, 90, 340, 20))];
    NSProgressIndicator *bar =
        [[[NSProgressIndicator alloc] initWithFrame:NSMakeRect(16, 58, 388, 20)] autorelease];
    [bar setIndeterminate:NO];
    [bar setDoubleValue:62];
    [content addSubview:bar];
    [content
        addSubview:Label(@"12.4 of 20.0 MB, less than a minute left", NSMakeRect(16, 18, 270, 20))];
    [content addSubview:Button(@"Cancel", NSMakeRect(304, 12, 100, 32), @"")];
    [window setBackgroundColor:[NSColor whiteColor]];
    [window setLevel:CGWindowLevelForKey(kCGStatusWindowLevelKey)];
    [window center];
    [window makeKeyAndOrderFront:nil];
    [NSApp runModalForWindow:window];
    [window release];
}

- (void)panelShown
{
    NSOpenPanel *panel = [NSOpenPanel openPanel];
    [panel setCanChooseDirectories:YES];
    [panel setCanChooseFiles:NO];
    NSRect frame = [panel frame];
    frame.size.height = 500;
    [panel setFrame:frame display:YES animate:YES];
    [panel setPrompt:@"Save"];
    [panel beginSheetModalForWindow:_window
                  completionHandler:^(NSInteger){
                  }];
}

- (NSInteger)outlineView:(NSOutlineView *)view numberOfChildrenOfItem:(id)item
{
    return item == nil ? (NSInteger)[_rows count] : 2;
}

- (id)outlineView:(NSOutlineView *)view child:(NSInteger)index ofItem:(id)item
{
    if (item == nil)
        return [NSNumber numberWithInteger:index];
    return [NSNumber numberWithInteger:100 * ([item integerValue] + 1) + index];
}

- (BOOL)outlineView:(NSOutlineView *)view isItemExpandable:(id)item
{
    return [item integerValue] % 15 < 3 && [item integerValue] < 100;
}

- (id)outlineView:(NSOutlineView *)view
    objectValueForTableColumn:(NSTableColumn *)column
                       byItem:(id)item
{
    NSString *name = [_rows objectAtIndex:(NSUInteger)[item integerValue] % [_rows count]];
    if ([[column identifier] isEqualToString:@"File Name"])
        return name;
    if ([[column identifier] isEqualToString:@"Date Modified"])
        return @"21 Nov 2026, 14:05";
    if ([[column identifier] isEqualToString:@"Size"] && [[name pathExtension] length] > 0)
        return @"1.4 MB";
    return @"";
}

@end
