// The commands of the menus for the selected rows.
#import "ExplorerFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class CommandsTest : public ExplorerTest {
protected:
    NSMenuItem *Item(NSString *title) { return (NSMenuItem *)[[Tree() menu] itemWithTitle:title]; }
    bool IsEnabled(NSString *title) { return [(id)controller validateMenuItem:Item(title)]; }
    void Choose(NSString *title)
    {
        NSMenuItem *item = Item(title);
        ASSERT_NE(item, nil) << [title UTF8String];
        [NSApp sendAction:[item action] to:[item target] from:item];
    }
    // What a right click in the middle of a row shows.
    NSMenu *MenuOfRow(NSInteger row)
    {
        const NSRect frame = row < 0 ? NSMakeRect(100, 400, 0, 0) : [Tree() rectOfRow:row];
        const NSPoint middle = NSMakePoint(NSMidX(frame), NSMidY(frame));
        NSEvent *click = [NSEvent mouseEventWithType:NSRightMouseDown
                                            location:[Tree() convertPoint:middle toView:nil]
                                       modifierFlags:0
                                           timestamp:0
                                        windowNumber:[window windowNumber]
                                             context:nil
                                         eventNumber:0
                                          clickCount:1
                                            pressure:1];
        return [Tree() menuForEvent:click];
    }
    static std::string Clipboard()
    {
        NSString *text = [[NSPasteboard generalPasteboard] stringForType:NSStringPboardType];
        return text == nil ? "(nil)" : [text UTF8String];
    }
};

TEST_F(CommandsTest, TheMenuOfARowHasItsCommandsAllOfTheController)
{
    for (NSString *title in @[ @"Export…", @"Expand", @"Collapse", @"Copy Name", @"Copy Path" ]) {
        ASSERT_NE(Item(title), nil) << [title UTF8String];
        EXPECT_EQ([Item(title) target], controller);
    }
    EXPECT_EQ([Item(@"Export…") action], @selector(onClickedExport:));
}

TEST_F(CommandsTest, ARightClickSelectsTheRowUnlessItIsSelected)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    Root().File(u"c", 1);
    Open();
    Select({0, 1});
    EXPECT_EQ(MenuOfRow(1), [Tree() menu]);
    EXPECT_EQ(Selected(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(MenuOfRow(2), [Tree() menu]);
    EXPECT_EQ(Selected(), std::vector<std::string>{"c"});
}

TEST_F(CommandsTest, ARightClickBelowTheRowsShowsNoMenuAndLeavesTheSelection)
{
    Root().File(u"a", 1);
    Open();
    Select({0});
    EXPECT_EQ(MenuOfRow(-1), nil);
    EXPECT_EQ(Selected(), std::vector<std::string>{"a"});
}

TEST_F(CommandsTest, WithoutASelectionNothingIsEnabled)
{
    Root().Folder(u"folder");
    Open();
    for (NSMenuItem *item in [[Tree() menu] itemArray])
        EXPECT_FALSE([item isSeparatorItem] ? false : [(id)controller validateMenuItem:item])
            << [[item title] UTF8String];
}

TEST_F(CommandsTest, ExpandAndCollapseAreForTheSelectedFoldersThatTheyChange)
{
    Root().Folder(u"one").File(u"inside", 1);
    Root().Folder(u"two");
    Root().Folder(u"three").File(u"other", 1);
    Root().File(u"file", 1);
    Open();
    Select({3});
    EXPECT_FALSE(IsEnabled(@"Expand"));
    EXPECT_FALSE(IsEnabled(@"Collapse"));
    Select({0, 1, 3});
    EXPECT_TRUE(IsEnabled(@"Expand"));
    EXPECT_FALSE(IsEnabled(@"Collapse"));
    Choose(@"Expand");
    EXPECT_EQ([Tree() numberOfRows], 5) << "the third folder is closed";
    EXPECT_FALSE(IsEnabled(@"Expand"));
    EXPECT_TRUE(IsEnabled(@"Collapse"));
    Choose(@"Collapse");
    EXPECT_EQ([Tree() numberOfRows], 4);
}

TEST_F(CommandsTest, CopyNamePutsTheNamesOnTheClipboardOnePerLine)
{
    Root().File(u"\u00fcber all.txt", 1);
    Root().Folder(u"Reports");
    Root().File(u"c", 1);
    Open();
    Select({1, 0});
    Choose(@"Copy Name");
    EXPECT_EQ(Clipboard(), "\u00fcber all.txt\nReports");
}

TEST_F(CommandsTest, CopyPathPutsThePathsOnTheVolumeOnTheClipboard)
{
    Root().Folder(u"Reports").Folder(u"2019").File(u"summary.txt", 1);
    Root().File(u"c", 1);
    Open();
    [Tree() expandItem:[Tree() itemAtRow:0]];
    [Tree() expandItem:[Tree() itemAtRow:1]];
    Select({2, 3});
    Choose(@"Copy Path");
    EXPECT_EQ(Clipboard(), "/Reports/2019/summary.txt\n/c");
}

TEST_F(CommandsTest, AnEntryWithoutANameIsLeftOutOfWhatIsCopied)
{
    Root().File(u"\xd800", 1);
    Root().File(u"b", 1);
    Open();
    Select({0, 1});
    Choose(@"Copy Name");
    EXPECT_EQ(Clipboard(), "b");
    Choose(@"Copy Path");
    EXPECT_EQ(Clipboard(), "/b");
}

TEST_F(CommandsTest, CopyOfTheEditMenuPutsTheNamesOnTheClipboard)
{
    Root().File(u"a", 1);
    Root().File(u"b", 1);
    Open();
    id copy = [[[[NSApp mainMenu] itemAtIndex:1] submenu] itemWithTitle:@"Copy"];
    EXPECT_FALSE([(id)Tree() validateMenuItem:copy]);
    Select({0, 1});
    EXPECT_TRUE([(id)Tree() validateMenuItem:copy]);
    Press('c', NSCommandKeyMask);
    EXPECT_EQ(Clipboard(), "a\nb");
}

}  // namespace
