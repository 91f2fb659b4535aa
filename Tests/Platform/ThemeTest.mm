// The theme is loaded and drawn; its settings give way to the user's.
#include "Drawing.h"

#include <memory>

#import <GNUstepGUI/GSTheme.h>

using vxtest::Drawing;

@interface NSMenuItemCell (LibraryOwn)
- (NSString *)_keyEquivalentString;
@end

@interface NSAlert (Panel)
- (void)_setupPanel;
@end

@interface GSTTView : NSView
- (void)setText:(NSAttributedString *)text;
@end

// What the theme draws around a button that has the focus.
@interface FocusFrame : NSView {
    NSButton *_button;
}
@property (assign) NSButton *button;
@end

@implementation FocusFrame

@synthesize button = _button;

- (void)drawRect:(NSRect)dirty
{
    [[NSColor whiteColor] set];
    NSRectFill([self bounds]);
    [[GSTheme theme] drawFocusFrame:[self bounds] view:_button];
}

@end

@interface ThreeRows : NSObject
@end

@implementation ThreeRows

- (NSInteger)numberOfRowsInTableView:(NSTableView *)table
{
    return 3;
}

- (id)tableView:(NSTableView *)table
    objectValueForTableColumn:(NSTableColumn *)column
                          row:(NSInteger)row
{
    return @"";
}

@end

namespace {

class Theme : public testing::Test {
protected:
    ~Theme() override { [m_pool release]; }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

NSTableView *TableOfThreeRows(id source)
{
    NSTableView *table =
        [[[NSTableView alloc] initWithFrame:NSMakeRect(0, 0, 200, 120)] autorelease];
    NSTableColumn *column = [[[NSTableColumn alloc] initWithIdentifier:@"only"] autorelease];
    [column setWidth:190];
    [table addTableColumn:column];
    [table setRowHeight:20];
    [table setHeaderView:nil];
    [table setDataSource:source];
    [table reloadData];
    return table;
}

BOOL HasMenuBar(NSUInteger style)
{
    NSWindow *window = [[[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 300, 200)
                                                    styleMask:style
                                                      backing:NSBackingStoreBuffered
                                                        defer:NO] autorelease];
    NSMenu *menu = [[[NSMenu alloc] initWithTitle:@"Bar"] autorelease];
    [menu addItemWithTitle:@"Edit" action:NULL keyEquivalent:@""];
    [[GSTheme theme] setMenu:menu forWindow:window];
    for (NSView *view in [[[window contentView] superview] subviews])
        if ([view isKindOfClass:[NSMenuView class]])
            return YES;
    return NO;
}

// The alert's own window, laid out.
NSWindow *AlertWindow(NSString *message, NSString *explanation)
{
    NSAlert *alert = [[[NSAlert alloc] init] autorelease];
    [alert setMessageText:message];
    [alert setInformativeText:explanation];
    [alert addButtonWithTitle:@"Yes"];
    [alert _setupPanel];
    return [[[alert window] retain] autorelease];
}

NSRect FrameOf(NSWindow *alert, NSString *part)
{
    return [[alert valueForKey:part] frame];
}

NSScrollView *ScrollViewOf(NSTableView *table)
{
    NSScrollView *scroll =
        [[[NSScrollView alloc] initWithFrame:NSMakeRect(0, 0, 200, 120)] autorelease];
    [scroll setDocumentView:table];
    [table reloadData];
    return scroll;
}

}  // namespace

TEST_F(Theme, TheProgramsOwnThemeIsInForce)
{
    EXPECT_STREQ([NSStringFromClass([[GSTheme theme] class]) UTF8String], "VXTheme");
    EXPECT_TRUE(
        [[[[GSTheme theme] bundle] bundlePath] hasPrefix:[[NSBundle mainBundle] bundlePath]]);
}

TEST_F(Theme, MenusLieInTheWindowAndThereIsNoDockTile)
{
    EXPECT_EQ(NSInterfaceStyleForKey(@"NSMenuInterfaceStyle", nil), NSWindows95InterfaceStyle);
    EXPECT_TRUE([[NSUserDefaults standardUserDefaults] boolForKey:@"GSSuppressAppIcon"]);
}

TEST_F(Theme, EverySettingIsOnlyRegisteredSoThatTheUsersOwnWins)
{
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    NSDictionary *registered = [defaults volatileDomainForName:NSRegistrationDomain];
    for (NSString *key in
         @[ @"GSTheme", @"NSMenuInterfaceStyle", @"NSFont", @"GSFirstCommandKey" ]) {
        ASSERT_NE([registered objectForKey:key], nil) << [key UTF8String];
        [defaults removeVolatileDomainForName:NSArgumentDomain];
        [defaults setVolatileDomain:[NSDictionary dictionaryWithObject:@"the user's" forKey:key]
                            forName:NSArgumentDomain];
        EXPECT_STREQ([[defaults stringForKey:key] UTF8String], "the user's") << [key UTF8String];
        [defaults removeVolatileDomainForName:NSArgumentDomain];
    }
}

TEST_F(Theme, TheSystemFontIsOneThatIsInstalled)
{
    NSString *name = [[NSFont systemFontOfSize:0] fontName];
    EXPECT_TRUE([[[NSFontManager sharedFontManager] availableFonts] containsObject:name]);
    EXPECT_TRUE(
        [name isEqualToString:[[NSUserDefaults standardUserDefaults] stringForKey:@"NSFont"]]);
}

TEST_F(Theme, AProgressBarIsFilledAsFarAsItsValueGoes)
{
    NSProgressIndicator *bar =
        [[[NSProgressIndicator alloc] initWithFrame:NSMakeRect(0, 0, 200, 20)] autorelease];
    [bar setIndeterminate:NO];
    [bar setDoubleValue:50];
    const Drawing drawing(bar);
    drawing.ExpectColor(50, 10, 47, 123, 229);
    drawing.ExpectColor(150, 10, 226, 228, 232);
}

TEST_F(Theme, AnEmptyProgressBarShowsNoFill)
{
    NSProgressIndicator *bar =
        [[[NSProgressIndicator alloc] initWithFrame:NSMakeRect(0, 0, 200, 20)] autorelease];
    [bar setIndeterminate:NO];
    [bar setDoubleValue:0];
    const Drawing drawing(bar);
    drawing.ExpectColor(4, 10, 226, 228, 232);
}

TEST_F(Theme, RowsOfATableAlternateDownToItsLowerEdge)
{
    ThreeRows *source = [[ThreeRows new] autorelease];
    NSTableView *table = TableOfThreeRows(source);
    // Without a height, so that the rows begin at the top.
    [table setHeaderView:[[[NSTableHeaderView alloc] initWithFrame:NSZeroRect] autorelease]];
    const Drawing drawing(ScrollViewOf(table));
    drawing.ExpectColor(100, 10, 255, 255, 255);
    drawing.ExpectColor(100, 30, 244, 246, 249);
    drawing.ExpectColor(100, 50, 255, 255, 255);
    drawing.ExpectColor(100, 110, 244, 246, 249);
}

TEST_F(Theme, RowsOfATableWithoutAHeaderDoNotAlternate)
{
    ThreeRows *source = [[ThreeRows new] autorelease];
    const Drawing drawing(ScrollViewOf(TableOfThreeRows(source)));
    for (const int y : {10, 30, 50, 110})
        drawing.ExpectColor(100, y, 255, 255, 255);
}

TEST_F(Theme, ASelectedRowIsLightBlue)
{
    ThreeRows *source = [[ThreeRows new] autorelease];
    NSTableView *table = TableOfThreeRows(source);
    [table selectRowIndexes:[NSIndexSet indexSetWithIndex:1] byExtendingSelection:NO];
    const Drawing drawing(ScrollViewOf(table));
    drawing.ExpectColor(100, 30, 205, 227, 252);
    drawing.ExpectColor(100, 10, 255, 255, 255);
}

TEST_F(Theme, AScrollerHasNoArrowsAndItsKnobSpansTheTrack)
{
    NSScroller *scroller =
        [[[NSScroller alloc] initWithFrame:NSMakeRect(0, 0, 12, 200)] autorelease];
    [scroller setEnabled:YES];
    [scroller setDoubleValue:0];
    [scroller setKnobProportion:0.5];
    EXPECT_EQ([scroller arrowsPosition], NSScrollerArrowsNone);
    EXPECT_TRUE(NSIsEmptyRect([scroller rectForPart:NSScrollerIncrementLine]));
    EXPECT_LT([scroller rectForPart:NSScrollerKnob].origin.y, 3);
    [scroller setDoubleValue:1];
    EXPECT_GT(NSMaxY([scroller rectForPart:NSScrollerKnob]), 196);
}

TEST_F(Theme, APushButtonIsAWhitePlate)
{
    NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 80, 28)] autorelease];
    [button setTitle:@""];
    [button setBezelStyle:NSRoundedBezelStyle];
    const Drawing drawing(button);
    drawing.ExpectColor(40, 14, 255, 255, 255);
    drawing.ExpectColor(40, 0, 198, 201, 206);
}

TEST_F(Theme, TheDefaultButtonStandsOut)
{
    NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 80, 28)] autorelease];
    [button setTitle:@""];
    [button setBezelStyle:NSRoundedBezelStyle];
    [button setKeyEquivalent:@"\r"];
    const Drawing drawing(button);
    drawing.ExpectColor(40, 0, 47, 123, 229);
}

TEST_F(Theme, ABarFromAnInterfaceFileIsOnViewWithoutBeingAnimated)
{
    NSProgressIndicator *bar =
        [[[NSProgressIndicator alloc] initWithFrame:NSMakeRect(0, 0, 200, 20)] autorelease];
    [bar setIndeterminate:NO];
    // What the library reads from a file.
    [bar setDisplayedWhenStopped:NO];
    [bar setDoubleValue:50];
    EXPECT_FALSE([bar isHidden]);
    Drawing(bar).ExpectColor(50, 10, 47, 123, 229);
    [bar setHidden:YES];
    EXPECT_TRUE([bar isHidden]);
}

TEST_F(Theme, AMenuNamesAKeyByItsCapitalLetter)
{
    NSMenuItem *item = [[[NSMenuItem alloc] initWithTitle:@"Export"
                                                   action:nullptr
                                            keyEquivalent:@"e"] autorelease];
    NSMenuItemCell *cell = [[[NSMenuItemCell alloc] init] autorelease];
    [cell setMenuItem:item];
    EXPECT_STREQ([[cell _keyEquivalentString] UTF8String], "Ctrl+E");
    [item setKeyEquivalent:@""];
    EXPECT_STREQ([[cell _keyEquivalentString] UTF8String], "");
}

TEST_F(Theme, OnlyAWindowThatCanBePutAsideHasAMenuBar)
{
    EXPECT_FALSE(HasMenuBar(NSTitledWindowMask));
    EXPECT_FALSE(HasMenuBar(NSTitledWindowMask | NSClosableWindowMask));
    EXPECT_TRUE(HasMenuBar(NSTitledWindowMask | NSMiniaturizableWindowMask));
}

TEST_F(Theme, AnAlertsTextsStandBelowEachOtherBesideThePicture)
{
    NSWindow *alert = AlertWindow(@"No access right.", @"Please select another location.");
    const NSRect icon = FrameOf(alert, @"icoButton");
    const NSRect heading = FrameOf(alert, @"titleField"), text = FrameOf(alert, @"messageField");
    const NSRect button = FrameOf(alert, @"defButton");
    EXPECT_GT(NSMinX(heading), NSMaxX(icon));
    EXPECT_EQ(NSMinX(text), NSMinX(heading));
    EXPECT_EQ(NSMaxY(icon), NSMaxY(heading));
    EXPECT_GT(NSMinY(heading), NSMaxY(text));
    EXPECT_GT(NSMinY(text), NSMaxY(button));
    EXPECT_EQ(NSMaxX(button), [[alert contentView] frame].size.width - 20);
    NSString *title = [[NSBundle mainBundle] localizedStringForKey:@"Alert" value:nil table:nil];
    EXPECT_TRUE([[alert title] isEqualToString:title]);
}

TEST_F(Theme, AnAlertIsAsHighAsALongExplanationNeeds)
{
    NSString *line = @"The volume could not be read to its end. ";
    NSString *text = [line stringByPaddingToLength:6 * [line length]
                                        withString:line
                                   startingAtIndex:0];
    NSWindow *alert = AlertWindow(@"Export", text);
    const NSRect frame = FrameOf(alert, @"messageField");
    NSAttributedString *shown = [[alert valueForKey:@"messageField"] attributedStringValue];
    const NSRect needed = [shown boundingRectWithSize:NSMakeSize(frame.size.width, 1e6)
                                              options:NSStringDrawingOptions(0)];
    EXPECT_GE(frame.size.height, needed.size.height);
    EXPECT_GT(NSMinY(frame), NSMaxY(FrameOf(alert, @"defButton")));
    EXPECT_LE(NSMaxX(frame), [[alert contentView] frame].size.width - 20);
}

TEST_F(Theme, AToolTipIsFramedInGrey)
{
    GSTTView *tip = [[[NSClassFromString(@"GSTTView") alloc] initWithFrame:NSMakeRect(0, 0, 60, 20)]
        autorelease];
    [tip setText:[[[NSAttributedString alloc] initWithString:@" "] autorelease]];
    const Drawing drawing(tip);
    drawing.ExpectColor(30, 0, 198, 201, 206);
    drawing.ExpectColor(0, 10, 198, 201, 206);
}

TEST_F(Theme, AButtonWithAKeyOfItsOwnHasNoFocusRing)
{
    for (NSString *key in @[ @"", @"\r", @"\e" ]) {
        NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 80, 28)] autorelease];
        [button setKeyEquivalent:key];
        NSView *canvas = [[[FocusFrame alloc] initWithFrame:NSMakeRect(0, 0, 80, 28)] autorelease];
        [(FocusFrame *)canvas setButton:button];
        // The ring's colour over what lies below it is no grey.
        EXPECT_EQ(Drawing(canvas).IsBlueAt(40, 0), [key length] == 0) << [key UTF8String];
    }
}
