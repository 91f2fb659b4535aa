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
    Open();
    for (NSString *title in @[ @"File Name", @"Date Modified", @"Size", @"Kind" ])
        EXPECT_NE(Column(title), nil) << [title UTF8String];
    EXPECT_TRUE([[Column(@"File Name") dataCell] isKindOfClass:[ImageAndTextCell class]]);
    EXPECT_EQ([[Column(@"Size") dataCell] alignment], NSRightTextAlignment);
    EXPECT_FALSE([Tree() allowsColumnReordering]);
    EXPECT_TRUE([Tree() allowsMultipleSelection]);
}

TEST_F(ExplorerTest, TheProgressBarAndItsLabelAreHiddenAndExportIsDisabled)
{
    EXPECT_TRUE([[controller progressBar] isHidden]);
    EXPECT_TRUE([[controller fileLable] isHidden]);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, TheTreeFillsTheWindowWhenItIsResized)
{
    Open();
    [window setContentSize:NSMakeSize(700, 400)];
    EXPECT_TRUE(
        NSEqualSizes([[delegate FileExplorerView] frame].size, [[window contentView] frame].size));
    EXPECT_EQ(NSWidth([[Tree() enclosingScrollView] frame]), 700);
}

TEST_F(ExplorerTest, TheWindowIsMadeNoSmallerThanItsContentsNeed)
{
    Open();
    [window setFrame:NSMakeRect(100, 100, 50, 50) display:YES];
    EXPECT_EQ(NSWidth([window frame]), 610);
    // A menu inside the window takes no room from the rest.
    EXPECT_GE(NSHeight([[window contentView] frame]), 320);
    const NSRect button = [[controller btnExport] frame];
    EXPECT_TRUE(NSContainsRect([[delegate FileExplorerView] bounds], button));
    EXPECT_GT(NSHeight([[Tree() enclosingScrollView] frame]), 100);
}

TEST_F(ExplorerTest, TheNameColumnTakesTheSlackWhenTheWindowIsResized)
{
    Open();
    const CGFloat name = [Column(@"File Name") width], modified = [Column(@"Date Modified") width];
    const CGFloat size = [Column(@"Size") width], kind = [Column(@"Kind") width];
    const CGFloat visible = NSWidth([[Tree() superview] frame]);
    EXPECT_EQ(name + modified + size + kind, visible);
    const CGFloat height = NSHeight([[window contentView] frame]);
    [window setContentSize:NSMakeSize(visible + 150, height)];
    EXPECT_EQ([Column(@"File Name") width], name + 150);
    [window setContentSize:NSMakeSize(visible - 100, height)];
    EXPECT_EQ([Column(@"File Name") width], name - 100);
    EXPECT_EQ([Column(@"Date Modified") width], modified);
    EXPECT_EQ([Column(@"Size") width], size);
    EXPECT_EQ([Column(@"Kind") width], kind);
}

TEST_F(ExplorerTest, AColumnIsAsWideAsTheMouseDrawsTheEdgeOfItsHeader)
{
    Open();
    NSTableHeaderView *header = [Tree() headerView];
    const CGFloat before = [Column(@"Date Modified") width];
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
    EXPECT_NEAR([Column(@"Date Modified") width], before + 40, 2);
}

TEST_F(ExplorerTest, TheRightArrowExpandsTheSelectedFolderAndTheLeftArrowCollapsesIt)
{
    Root().Folder(u"A").File(u"inside", 1);
    Root().File(u"b", 1);
    Open();
    Select({0});
    Press(NSRightArrowFunctionKey);
    EXPECT_EQ([Tree() numberOfRows], 3);
    EXPECT_EQ(Text(1, @"File Name"), "inside");
    Press(NSLeftArrowFunctionKey);
    EXPECT_EQ([Tree() numberOfRows], 2);
    EXPECT_THAT(Selected(), ElementsAre("A"));
}

TEST_F(ExplorerTest, SelectAllSelectsEveryRowThatIsShown)
{
    Root().Folder(u"A").File(u"hidden", 1);
    Root().File(u"b", 1);
    Open();
    Press('a', NSCommandKeyMask);
    EXPECT_THAT(Selected(), ElementsAre("A", "b"));
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, CopyGoesToTheTreeOrTheTextThatHasTheKeyboard)
{
    Root().File(u"b", 1);
    Open();
    id copy = [[[[NSApp mainMenu] itemAtIndex:1] submenu] itemWithTitle:@"Copy"];
    EXPECT_EQ([copy target], nil);
    EXPECT_TRUE([NSStringFromSelector([copy action]) isEqualToString:@"copy:"]);
    EXPECT_TRUE([[copy keyEquivalent] isEqualToString:@"c"]);
    [window makeKeyAndOrderFront:nil];
    EXPECT_EQ([window firstResponder], Tree());
    EXPECT_TRUE([Tree() respondsToSelector:[copy action]]);
    EXPECT_TRUE([[window fieldEditor:YES forObject:nil] respondsToSelector:[copy action]]);
}

TEST_F(ExplorerTest, AVolumeWhoseRootListIsEmptyShowsAnEmptyTreeAndExportStaysDisabled)
{
    Open();
    EXPECT_EQ([Tree() numberOfRows], 0);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, AVolumeWhoseRootCannotBeListedShowsAnEmptyTree)
{
    volume.FromCall(vx::VolumeOperation::kFindFirstFile, 1, vx::Fault::kFail);
    EXPECT_FALSE([controller setVolumeObject:&volume]);
    [[window contentView] addSubview:[delegate FileExplorerView]];
    EXPECT_EQ([Tree() numberOfRows], 0);
}

TEST_F(ExplorerTest, TheFirstDisplayAlreadySeesTheRootList)
{
    Root().Folder(u"A");
    Root().File(u"b", 3);
    Open();
    EXPECT_EQ([Tree() numberOfRows], 2);
    EXPECT_EQ(Listings(), 1u);
}

TEST_F(ExplorerTest, ExpandingAnEmptyFolderShowsNoRowsUnderItAndTheTriangleStays)
{
    Root().Folder(u"Empty");
    Open();
    [Tree() expandItem:[Tree() itemAtRow:0]];
    EXPECT_EQ([Tree() numberOfRows], 1);
    EXPECT_TRUE([Tree() isExpandable:[Tree() itemAtRow:0]]);
}

TEST_F(ExplorerTest, ExpandingCollapsingAndExpandingAgainReadsTheVolumeOnlyTheFirstTime)
{
    Root().Folder(u"A").File(u"inside", 1);
    Open();
    volume.ForgetCalls();
    id folder = [Tree() itemAtRow:0];
    [Tree() expandItem:folder];
    EXPECT_EQ(Listings(), 1u);
    EXPECT_EQ([Tree() numberOfRows], 2);
    [Tree() collapseItem:folder];
    [Tree() expandItem:folder];
    EXPECT_EQ(Listings(), 1u);
    EXPECT_EQ([Tree() numberOfRows], 2);
}

TEST_F(ExplorerTest, AFolderThatCouldNotBeListedIsReadAgain)
{
    Root().Folder(u"A").File(u"inside", 1);
    Open();
    volume.ForgetCalls();
    volume.AtCall(vx::VolumeOperation::kFindFirstFile, 2, vx::Fault::kFail);
    id folder = [Tree() itemAtRow:0];
    [Tree() expandItem:folder];
    [Tree() collapseItem:folder];
    [Tree() reloadItem:folder reloadChildren:YES];
    [Tree() expandItem:folder];
    EXPECT_GE(Listings(), 2u);
    EXPECT_EQ([Tree() numberOfRows], 2);
}

TEST_F(ExplorerTest, AFolderRowShowsItsNameAndDateAndAFileRowItsSizeAsWell)
{
    Root().Folder(u"A");
    Root().File(u"b", 1536);
    Open();
    NSString *date = [Z5FindData FormatFileTimeToString:vx::kScriptedTime];
    EXPECT_EQ(Text(0, @"File Name"), "A");
    EXPECT_EQ(Text(0, @"Date Modified"), [date UTF8String]);
    EXPECT_EQ(Text(0, @"Size"), "");
    EXPECT_EQ(Text(0, @"Kind"), "");
    EXPECT_EQ(Text(1, @"File Name"), "b");
    EXPECT_EQ(Text(1, @"Date Modified"), [date UTF8String]);
    EXPECT_EQ(Text(1, @"Size"), "1.50 KB");
    EXPECT_EQ(Text(1, @"Kind"), "");
}

TEST_F(ExplorerTest, AColumnOfAnotherTitleShowsEmptyStrings)
{
    Root().File(u"b", 1536);
    Open();
    [[Column(@"Size") headerCell] setStringValue:@"Größe"];
    EXPECT_EQ(Text(0, @"Größe"), "");
    [[Column(@"File Name") headerCell] setStringValue:@"file name"];
    EXPECT_EQ(Text(0, @"file name"), "");
}

TEST_F(ExplorerTest, ATitleInOtherLettersIsAnotherTitle)
{
    Root().File(u"b", 1536);
    Open();
    for (NSString *title in @[ @"File Name", @"Date Modified", @"Size" ]) {
        NSTableColumn *titled = Column(title);
        ImageAndTextCell *cell = [[ImageAndTextCell new] autorelease];
        for (NSString *other in @[ [title lowercaseString], [title uppercaseString] ]) {
            [[titled headerCell] setStringValue:other];
            EXPECT_EQ(Text(0, other), "") << [other UTF8String];
            [(id)controller outlineView:Tree()
                        willDisplayCell:cell
                         forTableColumn:titled
                                   item:[Tree() itemAtRow:0]];
            EXPECT_EQ([cell image], nil) << [other UTF8String];
        }
    }
}

TEST_F(ExplorerTest, AnItemThatIsNotAnEntryHasNoChildrenNoTextAndIsNotExpandable)
{
    Open();
    id item = @"not an entry";
    EXPECT_EQ([(id)controller outlineView:Tree() numberOfChildrenOfItem:item], 0);
    EXPECT_FALSE([(id)controller outlineView:Tree() isItemExpandable:item]);
    EXPECT_EQ([(id)controller outlineView:Tree()
                  objectValueForTableColumn:Column(@"File Name")
                                     byItem:nil],
              nil);
    EXPECT_TRUE([[(id)controller outlineView:Tree()
                   objectValueForTableColumn:Column(@"File Name")
                                      byItem:item] isEqual:@""]);
}

TEST_F(ExplorerTest, AFileGetsTheIconOfItsTypeAndAFolderAlwaysTheFolderImage)
{
    Root().Folder(u"Folder.pdf");
    Root().File(u"text.pdf", 1);
    Root().File(u"README", 1);
    Root().File(u".pdf", 1);
    Open();
    const auto icon = [this](NSInteger row) {
        ImageAndTextCell *cell = [[ImageAndTextCell new] autorelease];
        [(id)controller outlineView:Tree()
                    willDisplayCell:cell
                     forTableColumn:Column(@"File Name")
                               item:[Tree() itemAtRow:row]];
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
        Root().File(std::u16string(1, name), 1);
    Open();
    Select({5, 2, 9});
    EXPECT_THAT(Selected(), ElementsAre("2", "5", "9"));
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, ClearingTheSelectionEmptiesTheListAndDisablesExport)
{
    Root().File(u"a", 1);
    Open();
    Select({0});
    id list = [controller valueForKey:@"_selectedFiles"];
    [Tree() deselectAll:nil];
    EXPECT_THAT(Selected(), IsEmpty());
    EXPECT_EQ([controller valueForKey:@"_selectedFiles"], list);
    EXPECT_FALSE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, AFolderAndAnItemInsideItMayBeSelectedTogether)
{
    Root().Folder(u"A").File(u"inside", 1);
    Open();
    [Tree() expandItem:[Tree() itemAtRow:0]];
    [Tree() selectAll:nil];
    EXPECT_THAT(Selected(), ElementsAre("A", "inside"));
}

TEST_F(ExplorerTest, AwakingAgainSetsNothingUpAgain)
{
    Root().File(u"a", 1);
    Open();
    Select({0});
    [controller awakeFromNib];
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(ExplorerTest, TheSetUpTurnsTheReorderingOfColumnsOff)
{
    [Tree() setAllowsColumnReordering:YES];
    EXPECT_TRUE([controller finishInitialize]);
    EXPECT_FALSE([Tree() allowsColumnReordering]);
}

TEST_F(ExplorerTest, EveryAwakingRegistersTheTreeForTheNamesOfFiles)
{
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(
            [[Tree() registeredDraggedTypes] isEqual:@[ (NSString *)NSFilenamesPboardType ]]);
        [Tree() unregisterDraggedTypes];
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
