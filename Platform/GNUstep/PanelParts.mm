#import "PanelParts.h"

#include "FolderName.h"
#include "LookSettings.h"
#include "PanelTexts.h"
#include "Places.h"
#import "TextScale.h"
#include "ThreadChecks.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/stat.h>

@interface NSSavePanel (LibraryOwn)
- (void)_reloadBrowser;
@end

namespace {

// Points, for ordinary text.
constexpr CGFloat kWidth = 580, kLeastWidth = 500, kPlacesWidth = 138, kGap = 8, kSwitchHeight = 22;

// The library finds its own views by their tags, of which 0, that of any control, is one.
constexpr NSInteger kOwnTag = 1000;

NSString *localized(NSString *text)
{
    return [[NSBundle mainBundle] localizedStringForKey:text value:text table:nil];
}

NSString *titleOf(const vx::Place &place, NSString *path)
{
    switch (place.kind) {
    case vx::PlaceKind::kHome:
        return vx::panelText(@"Home");
    case vx::PlaceKind::kDesktop:
        return vx::panelText(@"Desktop");
    case vx::PlaceKind::kDocuments:
        return vx::panelText(@"Documents");
    case vx::PlaceKind::kDisk:
        break;
    }
    return [path lastPathComponent];
}

NSArray *newPlaces()
{
    NSMutableArray *places = [NSMutableArray new];
    for (const vx::Place &place : vx::placesOfUser()) {
        NSString *path =
            [[NSFileManager defaultManager] stringWithFileSystemRepresentation:place.path.c_str()
                                                                        length:place.path.size()];
        if (path != nil)
            [places addObject:[NSArray arrayWithObjects:titleOf(place, path), path, nil]];
    }
    return places;
}

void enlarge(NSOpenPanel *panel)
{
    NSView *const content = [panel contentView];
    const NSSize size = [content frame].size;
    [content setAutoresizesSubviews:NO];
    [panel setContentSize:NSMakeSize(vx::scaled(size.width), vx::scaled(size.height))];
    vx::scaleSubviews(content, vx::textScale());
    [content setAutoresizesSubviews:YES];
}

void widen(NSOpenPanel *panel)
{
    NSSize size = [[panel contentView] frame].size, least = [panel minSize];
    size.width = vx::scaled(kWidth);
    least.width = vx::scaled(kLeastWidth);
    [panel setContentSize:size];
    [panel setMinSize:least];
}

void reportFailure(NSString *name, int error)
{
    NSAlert *alert = [[NSAlert new] autorelease];
    [alert
        setMessageText:[NSString stringWithFormat:vx::panelText(@"“%@” was not created."), name]];
    [alert setInformativeText:[NSString stringWithUTF8String:strerror(error)]];
    [alert addButtonWithTitle:localized(@"OK")];
    [alert runModal];
}

}  // namespace

@implementation PanelParts

- (id)initWithPanel:(NSOpenPanel *)panel
{
    AssertMainThread();
    self = [super init];
    if (self == nil)
        return nil;
    _panel = panel;
    if (vx::textScale() != 1)
        enlarge(panel);
    widen(panel);
    NSBrowser *browser = [[panel contentView] viewWithTag:NSFileHandlingPanelBrowser];
    NSRect frame = [browser frame];
    NSRect places, others, line, rest;
    NSDivideRect(frame, &line, &others, vx::scaled(kSwitchHeight), NSMinYEdge);
    NSDivideRect(others, &places, &rest, vx::scaled(kPlacesWidth), NSMinXEdge);
    rest = NSMakeRect(NSMinX(rest) + kGap, NSMinY(rest), NSWidth(rest) - kGap, NSHeight(rest));
    [browser setFrame:rest];
    line.origin.x = NSMinX(rest);
    line.size.width = NSWidth(rest);
    [self addPlacesTo:[browser superview] frame:places];
    [self addSwitchTo:[browser superview] frame:line];
    [self addButton];
    return self;
}

- (void)dealloc
{
    [_places release];
    [super dealloc];
}

- (void)addPlacesTo:(NSView *)view frame:(NSRect)frame
{
    NSScrollView *scroller = [[[NSScrollView alloc] initWithFrame:frame] autorelease];
    [scroller setAutoresizingMask:NSViewHeightSizable | NSViewMaxXMargin];
    [scroller setHasVerticalScroller:YES];
    [scroller setAutohidesScrollers:YES];
    _table = [[[NSTableView alloc] initWithFrame:[[scroller contentView] bounds]] autorelease];
    NSTableColumn *column = [[[NSTableColumn alloc] initWithIdentifier:@"title"] autorelease];
    [column setEditable:NO];
    [column setWidth:NSWidth(frame) - 4];
    [_table addTableColumn:column];
    [_table setTag:kOwnTag];
    [_table setHeaderView:nil];
    [_table setCornerView:nil];
    [_table setDrawsGrid:NO];
    [_table setRowHeight:vx::scaled(22)];
    [_table setAllowsEmptySelection:YES];
    [_table setDataSource:(id)self];
    [_table setTarget:self];
    [_table setAction:@selector(placeClicked:)];
    [scroller setDocumentView:_table];
    [view addSubview:scroller];
}

- (void)addSwitchTo:(NSView *)view frame:(NSRect)frame
{
    _hidden = [[[NSButton alloc] initWithFrame:frame] autorelease];
    [_hidden setButtonType:NSSwitchButton];
    [_hidden setTag:kOwnTag];
    [_hidden setBordered:NO];
    [_hidden setTitle:vx::panelText(@"Show hidden files and folders")];
    [_hidden setAutoresizingMask:NSViewWidthSizable | NSViewMaxYMargin];
    [_hidden setTarget:self];
    [_hidden setAction:@selector(hiddenClicked:)];
    [view addSubview:_hidden];
}

- (void)addButton
{
    NSButton *cancel = [[_panel contentView] viewWithTag:NSFileHandlingPanelCancelButton];
    NSRect frame = [cancel frame];
    _newFolder = [[[NSButton alloc] initWithFrame:frame] autorelease];
    [_newFolder setTag:kOwnTag];
    [_newFolder setTitle:vx::panelText(@"New Folder")];
    constexpr CGFloat kMargin = 12;
    frame.size.width = std::ceil([[_newFolder cell] cellSize].width) + 2 * kMargin;
    frame.origin.x = kGap;
    [_newFolder setFrame:frame];
    [_newFolder setAutoresizingMask:NSViewMaxXMargin];
    [_newFolder setTarget:self];
    [_newFolder setAction:@selector(newFolderClicked:)];
    [[cancel superview] addSubview:_newFolder];
}

- (void)showWithNewFolders:(BOOL)offered
{
    AssertMainThread();
    [_places release];
    _places = newPlaces();
    [_table reloadData];
    [_table deselectAll:nil];
    [_newFolder setHidden:!offered];
    [_hidden setState:[_panel showsHiddenFiles] ? NSOnState : NSOffState];
}

- (NSInteger)numberOfRowsInTableView:(NSTableView *)table
{
    return static_cast<NSInteger>([_places count]);
}

- (id)tableView:(NSTableView *)table
    objectValueForTableColumn:(NSTableColumn *)column
                          row:(NSInteger)row
{
    return [[_places objectAtIndex:static_cast<NSUInteger>(row)] objectAtIndex:0];
}

- (void)placeClicked:(id)sender
{
    AssertMainThread();
    const NSInteger row = [_table clickedRow];
    if (row >= 0)
        [_panel showFolder:[[_places objectAtIndex:static_cast<NSUInteger>(row)] objectAtIndex:1]];
}

- (void)hiddenClicked:(id)sender
{
    AssertMainThread();
    [_panel setShowsHiddenFiles:[_hidden state] == NSOnState];
}

- (void)newFolderClicked:(id)sender
{
    AssertMainThread();
    NSString *name = vx::askForFolderName();
    if (name == nil)
        return;
    NSString *path = [[_panel directory] stringByAppendingPathComponent:name];
    constexpr mode_t kAsTheUserMasksIt = 0777;
    if (mkdir([path fileSystemRepresentation], kAsTheUserMasksIt) != 0) {
        reportFailure(name, errno);
        return;
    }
    [_panel _reloadBrowser];
    [_panel showFolder:path];
}

@end
