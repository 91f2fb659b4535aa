// The tree on a scripted volume, in the window that the interface file describes.
#import "ExplorerFixture.h"
#import "ModalDriver.h"

#include <CoreGraphics/CoreGraphics.h>

#import "ImageAndTextCell.h"
#import "Z5FindData.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(ExplorerTest, WhenTheVolumeDoesNotOpenTheWindowIsStillShownInFront)
{
    // The arguments of this process open no volume.
    EXPECT_TRUE([window isVisible]);
    EXPECT_EQ([[delegate FileExplorerView] superview], nil);
    EXPECT_EQ([window level], CGWindowLevelForKey(kCGStatusWindowLevelKey));
    [delegate applicationDidFinishLaunching:nil];
    EXPECT_EQ([window level], CGWindowLevelForKey(kCGNormalWindowLevelKey));
}

TEST_F(ExplorerTest, TheDelegateAnswersARequestForASheetOnceItIsAwake)
{
    bool shown = false;
    apptest::When([] { return [NSApp modalWindow] != nil; },
                  [&shown] {
                      shown = apptest::ShowsText([NSApp modalWindow], @"A title");
                      [apptest::ButtonTitled([NSApp modalWindow], @"OK") performClick:nil];
                  });
    // Without a text, which leaves that part empty.
    [[NSNotificationCenter defaultCenter] postNotificationName:@"ShowAlertSheet"
                                                        object:nil
                                                      userInfo:@{@"title" : @"A title"}];
    EXPECT_TRUE(apptest::ServeUntil([&shown] { return shown; }));
}

TEST_F(ExplorerTest, ClosingTheMainWindowEndsTheApplication)
{
    EXPECT_TRUE([delegate applicationShouldTerminateAfterLastWindowClosed:NSApp]);
}

TEST_F(ExplorerTest, ItsFourColumnsAreNamedAsTheCodeKnowsThem)
{
    open();
    for (NSString *title in @[ @"File Name", @"Date Modified", @"Size", @"Kind" ])
        EXPECT_NE(column(title), nil) << [title UTF8String];
    EXPECT_TRUE([[column(@"File Name") dataCell] isKindOfClass:[ImageAndTextCell class]]);
    EXPECT_EQ([[column(@"Size") dataCell] alignment], NSRightTextAlignment);
    EXPECT_FALSE([tree() allowsColumnReordering]);
    EXPECT_TRUE([tree() allowsMultipleSelection]);
}

TEST_F(ExplorerTest, TheProgressBarAndItsLabelAreHiddenAndExportIsDisabled)
{
    EXPECT_TRUE([[controller progressBar] isHidden]);
    EXPECT_TRUE([[controller fileLable] isHidden]);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, TheTreeFillsTheWindowWhenItIsResized)
{
    open();
    [window setContentSize:NSMakeSize(700, 400)];
    EXPECT_TRUE(
        NSEqualSizes([[delegate FileExplorerView] frame].size, [[window contentView] frame].size));
    EXPECT_EQ(NSWidth([[tree() enclosingScrollView] frame]), 700);
}

TEST_F(ExplorerTest, TheWindowIsMadeNoSmallerThanItsContentsNeed)
{
    open();
    [window setFrame:NSMakeRect(100, 100, 50, 50) display:YES];
    EXPECT_EQ(NSWidth([window frame]), 610);
    // A menu inside the window takes no room from the rest.
    EXPECT_GE(NSHeight([[window contentView] frame]), 320);
    const NSRect button = [[controller btnExport] frame];
    EXPECT_TRUE(NSContainsRect([[delegate FileExplorerView] bounds], button));
    EXPECT_GT(NSHeight([[tree() enclosingScrollView] frame]), 100);
}

TEST_F(ExplorerTest, TheNameColumnTakesTheSlackWhenTheWindowIsResized)
{
    open();
    const CGFloat name = [column(@"File Name") width], modified = [column(@"Date Modified") width];
    const CGFloat size = [column(@"Size") width], kind = [column(@"Kind") width];
    const CGFloat visible = NSWidth([[tree() superview] frame]);
    EXPECT_EQ(name + modified + size + kind, visible);
    const CGFloat height = NSHeight([[window contentView] frame]);
    [window setContentSize:NSMakeSize(visible + 150, height)];
    EXPECT_EQ([column(@"File Name") width], name + 150);
    [window setContentSize:NSMakeSize(visible - 100, height)];
    EXPECT_EQ([column(@"File Name") width], name - 100);
    EXPECT_EQ([column(@"Date Modified") width], modified);
    EXPECT_EQ([column(@"Size") width], size);
    EXPECT_EQ([column(@"Kind") width], kind);
}

TEST_F(ExplorerTest, AColumnIsAsWideAsTheMouseDrawsTheEdgeOfItsHeader)
{
    open();
    NSTableHeaderView *header = [tree() headerView];
    const CGFloat before = [column(@"Date Modified") width];
    const NSRect title = [header headerRectOfColumn:1];
    const auto mouse = [&](NSEventType type, CGFloat moved) {
        const NSPoint at = NSMakePoint(NSMaxX(title) - 1 + moved, NSMidY(title));
        return [NSEvent mouseEventWithType:type
                                  location:[header convertPoint:at toView:nil]
                             modifierFlags:0
                                 timestamp:0
                              windowNumber:[window windowNumber]
                                   context:[window graphicsContext]
                               eventNumber:0
                                clickCount:1
                                  pressure:1];
    };
    [NSApp postEvent:mouse(NSLeftMouseDragged, 20) atStart:NO];
    [NSApp postEvent:mouse(NSLeftMouseDragged, 40) atStart:NO];
    [NSApp postEvent:mouse(NSLeftMouseUp, 40) atStart:NO];
    [header mouseDown:mouse(NSLeftMouseDown, 0)];
    EXPECT_NEAR([column(@"Date Modified") width], before + 40, 2);
}

TEST_F(ExplorerTest, TheRightArrowExpandsTheSelectedFolderAndTheLeftArrowCollapsesIt)
{
    root().Folder(u"A").File(u"inside", 1);
    root().File(u"b", 1);
    open();
    select({0});
    press(NSRightArrowFunctionKey);
    EXPECT_EQ([tree() numberOfRows], 3);
    EXPECT_EQ(text(1, @"File Name"), "inside");
    press(NSLeftArrowFunctionKey);
    EXPECT_EQ([tree() numberOfRows], 2);
    EXPECT_THAT(selected(), ElementsAre("A"));
}

TEST_F(ExplorerTest, SelectAllSelectsEveryRowThatIsShown)
{
    root().Folder(u"A").File(u"hidden", 1);
    root().File(u"b", 1);
    open();
    press('a', NSCommandKeyMask);
    EXPECT_THAT(selected(), ElementsAre("A", "b"));
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, CopyGoesToTheTextThatHasTheKeyboardAndTheTreeHasNone)
{
    root().File(u"b", 1);
    open();
    id copy = [[[[NSApp mainMenu] itemAtIndex:1] submenu] itemWithTitle:@"Copy"];
    EXPECT_EQ([copy target], nil);
    EXPECT_TRUE([NSStringFromSelector([copy action]) isEqualToString:@"copy:"]);
    EXPECT_TRUE([[copy keyEquivalent] isEqualToString:@"c"]);
    [window makeKeyAndOrderFront:nil];
    EXPECT_FALSE([[window firstResponder] respondsToSelector:[copy action]]);
    EXPECT_TRUE([[window fieldEditor:YES forObject:nil] respondsToSelector:[copy action]]);
}

TEST_F(ExplorerTest, AVolumeWhoseRootListIsEmptyShowsAnEmptyTreeAndExportStaysDisabled)
{
    open();
    EXPECT_EQ([tree() numberOfRows], 0);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, AVolumeWhoseRootCannotBeListedShowsAnEmptyTree)
{
    volume.FromCall(vx::VolumeOperation::kFindFirstFile, 1, vx::Fault::kFail);
    EXPECT_FALSE([controller setVolumeObject:&volume]);
    [[window contentView] addSubview:[delegate FileExplorerView]];
    EXPECT_EQ([tree() numberOfRows], 0);
}

TEST_F(ExplorerTest, TheFirstDisplayAlreadySeesTheRootList)
{
    root().Folder(u"A");
    root().File(u"b", 3);
    open();
    EXPECT_EQ([tree() numberOfRows], 2);
    EXPECT_EQ(listings(), 1u);
}

TEST_F(ExplorerTest, ExpandingAnEmptyFolderShowsNoRowsUnderItAndTheTriangleStays)
{
    root().Folder(u"Empty");
    open();
    [tree() expandItem:[tree() itemAtRow:0]];
    EXPECT_EQ([tree() numberOfRows], 1);
    EXPECT_TRUE([tree() isExpandable:[tree() itemAtRow:0]]);
}

TEST_F(ExplorerTest, ExpandingCollapsingAndExpandingAgainReadsTheVolumeOnlyTheFirstTime)
{
    root().Folder(u"A").File(u"inside", 1);
    open();
    volume.ForgetCalls();
    id folder = [tree() itemAtRow:0];
    [tree() expandItem:folder];
    EXPECT_EQ(listings(), 1u);
    EXPECT_EQ([tree() numberOfRows], 2);
    [tree() collapseItem:folder];
    [tree() expandItem:folder];
    EXPECT_EQ(listings(), 1u);
    EXPECT_EQ([tree() numberOfRows], 2);
}

TEST_F(ExplorerTest, AFolderThatCouldNotBeListedIsReadAgain)
{
    root().Folder(u"A").File(u"inside", 1);
    open();
    volume.ForgetCalls();
    volume.AtCall(vx::VolumeOperation::kFindFirstFile, 2, vx::Fault::kFail);
    id folder = [tree() itemAtRow:0];
    [tree() expandItem:folder];
    [tree() collapseItem:folder];
    [tree() reloadItem:folder reloadChildren:YES];
    [tree() expandItem:folder];
    EXPECT_GE(listings(), 2u);
    EXPECT_EQ([tree() numberOfRows], 2);
}

TEST_F(ExplorerTest, AFolderRowShowsItsNameAndDateAndAFileRowItsSizeAsWell)
{
    root().Folder(u"A");
    root().File(u"b", 1536);
    open();
    NSString *date = [Z5FindData FormatFileTimeToString:vx::kScriptedTime];
    EXPECT_EQ(text(0, @"File Name"), "A");
    EXPECT_EQ(text(0, @"Date Modified"), [date UTF8String]);
    EXPECT_EQ(text(0, @"Size"), "");
    EXPECT_EQ(text(0, @"Kind"), "");
    EXPECT_EQ(text(1, @"File Name"), "b");
    EXPECT_EQ(text(1, @"Date Modified"), [date UTF8String]);
    EXPECT_EQ(text(1, @"Size"), "1.50 KB");
    EXPECT_EQ(text(1, @"Kind"), "");
}

TEST_F(ExplorerTest, AColumnOfAnotherTitleShowsEmptyStrings)
{
    root().File(u"b", 1536);
    open();
    [[column(@"Size") headerCell] setStringValue:@"Größe"];
    EXPECT_EQ(text(0, @"Größe"), "");
    [[column(@"File Name") headerCell] setStringValue:@"file name"];
    EXPECT_EQ(text(0, @"file name"), "");
}

TEST_F(ExplorerTest, ATitleInOtherLettersIsAnotherTitle)
{
    root().File(u"b", 1536);
    open();
    for (NSString *title in @[ @"File Name", @"Date Modified", @"Size" ]) {
        NSTableColumn *titled = column(title);
        ImageAndTextCell *cell = [[ImageAndTextCell new] autorelease];
        for (NSString *other in @[ [title lowercaseString], [title uppercaseString] ]) {
            [[titled headerCell] setStringValue:other];
            EXPECT_EQ(text(0, other), "") << [other UTF8String];
            [(id)controller outlineView:tree()
                        willDisplayCell:cell
                         forTableColumn:titled
                                   item:[tree() itemAtRow:0]];
            EXPECT_EQ([cell image], nil) << [other UTF8String];
        }
    }
}

TEST_F(ExplorerTest, AnItemThatIsNotAnEntryHasNoChildrenNoTextAndIsNotExpandable)
{
    open();
    id item = @"not an entry";
    EXPECT_EQ([(id)controller outlineView:tree() numberOfChildrenOfItem:item], 0);
    EXPECT_FALSE([(id)controller outlineView:tree() isItemExpandable:item]);
    EXPECT_EQ([(id)controller outlineView:tree()
                  objectValueForTableColumn:column(@"File Name")
                                     byItem:nil],
              nil);
    EXPECT_TRUE([[(id)controller outlineView:tree()
                   objectValueForTableColumn:column(@"File Name")
                                      byItem:item] isEqual:@""]);
}

TEST_F(ExplorerTest, AFileGetsTheIconOfItsTypeAndAFolderAlwaysTheFolderImage)
{
    root().Folder(u"Folder.pdf");
    root().File(u"text.pdf", 1);
    root().File(u"README", 1);
    root().File(u".pdf", 1);
    open();
    const auto icon = [this](NSInteger row) {
        ImageAndTextCell *cell = [[ImageAndTextCell new] autorelease];
        [(id)controller outlineView:tree()
                    willDisplayCell:cell
                     forTableColumn:column(@"File Name")
                               item:[tree() itemAtRow:row]];
        return [cell image];
    };
    NSWorkspace *workspace = [NSWorkspace sharedWorkspace];
    EXPECT_EQ(icon(0), [NSImage imageNamed:@"folder"]);
    EXPECT_NE(icon(0), nil);
    EXPECT_EQ(icon(1), [workspace iconForFileType:@"pdf"]);
    EXPECT_EQ(icon(2), [workspace iconForFileType:@""]);
    EXPECT_NE(icon(2), nil);
    EXPECT_EQ(icon(3), icon(1)) << "all that follows the last dot is the type";
}

TEST_F(ExplorerTest, SelectingRows5And2And9StoresTheirItemsInTheOrder2And5And9)
{
    for (char16_t name = u'0'; name <= u'9'; ++name)
        root().File(std::u16string(1, name), 1);
    open();
    select({5, 2, 9});
    EXPECT_THAT(selected(), ElementsAre("2", "5", "9"));
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, ClearingTheSelectionEmptiesTheListAndDisablesExport)
{
    root().File(u"a", 1);
    open();
    select({0});
    id list = [controller valueForKey:@"_selectedFiles"];
    [tree() deselectAll:nil];
    EXPECT_THAT(selected(), IsEmpty());
    EXPECT_EQ([controller valueForKey:@"_selectedFiles"], list);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, AFolderAndAnItemInsideItMayBeSelectedTogether)
{
    root().Folder(u"A").File(u"inside", 1);
    open();
    [tree() expandItem:[tree() itemAtRow:0]];
    [tree() selectAll:nil];
    EXPECT_THAT(selected(), ElementsAre("A", "inside"));
}

TEST_F(ExplorerTest, AwakingAgainSetsNothingUpAgain)
{
    root().File(u"a", 1);
    open();
    select({0});
    [controller awakeFromNib];
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, TheSetUpTurnsTheReorderingOfColumnsOff)
{
    [tree() setAllowsColumnReordering:YES];
    EXPECT_TRUE([controller finishInitialize]);
    EXPECT_FALSE([tree() allowsColumnReordering]);
}

TEST_F(ExplorerTest, EveryAwakingRegistersTheTreeForTheNamesOfFiles)
{
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(
            [[tree() registeredDraggedTypes] isEqual:@[ (NSString *)NSFilenamesPboardType ]]);
        [tree() unregisterDraggedTypes];
        [controller awakeFromNib];
    }
}

TEST_F(ExplorerTest, TheMenusHaveTheirCommands)
{
    NSMenu *menu = [NSApp mainMenu];
    EXPECT_EQ([menu numberOfItems], 3);
    NSMenu *application = [[menu itemAtIndex:0] submenu];
    for (NSString *title in @[ @"About", @"Export", @"Hide", @"Quit" ])
        EXPECT_NE([application itemWithTitle:title], nil) << [title UTF8String];
    EXPECT_EQ([[application itemWithTitle:@"Export"] target], controller);
    // The window that is on view is not among them.
    NSMenu *windows = [[menu itemAtIndex:2] submenu];
    ASSERT_EQ([windows numberOfItems], 2);
    EXPECT_STREQ([[[windows itemAtIndex:0] title] UTF8String], "Minimise");
    EXPECT_STREQ([[[windows itemAtIndex:1] title] UTF8String], "Close");
}

}  // namespace
